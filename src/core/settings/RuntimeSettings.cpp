#include "core/settings/RuntimeSettings.h"

namespace velmora {

namespace {

std::vector<std::string> strings(const Array& array) {
    // An entry that is not a text can never contain a severity name, so it may be left out.
    std::vector<std::string> out;
    for (const Value& v : array) {
        if (const std::string* s = v.asString()) {
            out.push_back(*s);
        }
    }
    return out;
}

} // namespace

RuntimeSettings RuntimeSettings::load(const std::optional<Dictionary>& settings) {
    RuntimeSettings runtime;
    if (!settings) {
        return runtime;
    }
    for (const Severity severity : kAllSeverities) {
        runtime.levels[severity] =
            settings->integer(std::string("severity").append(severityKeySuffix(severity)));
    }
    runtime.iPopupEvents = settings->integer("popupEvents");
    runtime.oldDateFormat = runtime.newDateFormat = settings->string("dateFormat");
    runtime.popupSound = settings->string("popupSound");
    runtime.popupDisplayArray = strings(settings->array("popupDisplayArray"));
    runtime.popupPlayArray = strings(settings->array("popupPlayArray"));
    return runtime;
}

} // namespace velmora
