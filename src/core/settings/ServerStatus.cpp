#include "core/settings/ServerStatus.h"

namespace velmora {

bool actionsEnabled(const std::optional<Dictionary>& settings) {
    return settings && !settings->array("actionsArray").empty();
}

bool exportEnabled(const std::optional<Dictionary>& settings) {
    return settings &&
           (settings->integer("textInterval") > 0 || settings->integer("databaseInterval") >= 1);
}

std::string_view monitorStatusText(bool serverRunning) {
    return serverRunning ? "Running" : "Stopped";
}

std::string_view actionsStatusText(bool enabled) {
    return enabled ? "Actions enabled" : "Do not use actions";
}

std::string_view exportStatusText(bool enabled) {
    return enabled ? "Export enabled" : "Do not use export";
}

} // namespace velmora
