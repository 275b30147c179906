#include <string>

#include "cli/Commands.h"
#include "cli/JsonValue.h"
#include "core/eventlog/EventStore.h"
#include "core/eventlog/LogLoader.h"
#include "core/settings/RuntimeSettings.h"

namespace velmora::cli {

namespace {

struct LoadedList {
    EventStore store;
    RuntimeSettings runtime;
};

// The event list and the run-time settings exactly as the console builds them at start.
std::unique_ptr<LoadedList> loadList(const Context& context) {
    auto list = std::make_unique<LoadedList>();
    initializeLog(context.store, list->store, list->runtime);
    return list;
}

void appendJsonField(std::string& out, std::string_view key,
                     const std::optional<std::string_view>& value) {
    appendJsonString(out, key);
    out += ':';
    if (value) {
        appendJsonString(out, *value);
    } else {
        out += "null";
    }
}

} // namespace

int eventsCommand(const Context& context) {
    bool rawDates = false;
    bool json = false;
    for (const std::string& a : context.arguments) {
        if (a == "--raw-dates") {
            rawDates = true;
        } else if (a == "--json") {
            json = true;
        } else {
            return context.fail(kExitUsage, "usage: events [--raw-dates] [--json]");
        }
    }
    auto list = loadList(context);
    EventStore& store = list->store;
    if (!rawDates) {
        // The events page's first appearance writes every date in the configured format.
        store.appear(list->runtime.oldDateFormat, list->runtime.newDateFormat,
                     list->runtime.levels);
    }
    // Written a block at a time: millions of lines.
    constexpr std::size_t kFlushBytes = std::size_t{1} << 16;
    std::string out;
    DateHistory::RowState scratch;
    for (std::size_t row = 0; row < store.size(); ++row) {
        const EventId id = store.at(row);
        std::optional<std::string_view> date;
        if (rawDates) {
            date = store.rawDate(id);
        } else if (const std::optional<std::string>& shown = store.date(id, scratch)) {
            date = *shown;
        }
        if (json) {
            out += '{';
            appendJsonField(out, "Date", date);
            out += ',';
            appendJsonField(out, "Priority", store.priority(id));
            out += ',';
            appendJsonField(out, "Host", store.host(id));
            out += ',';
            appendJsonField(out, "Message", store.message(id));
            out += "}\n";
        } else {
            out.append(date.value_or("")).append("\t");
            out.append(store.priority(id).value_or("")).append("\t");
            out.append(store.host(id).value_or("")).append("\t");
            out.append(store.message(id).value_or("")).append("\n");
        }
        if (out.size() >= kFlushBytes) {
            context.out() << out;
            out.clear();
        }
    }
    context.out() << out;
    return kExitOk;
}

int countsCommand(const Context& context) {
    if (!context.arguments.empty()) {
        return context.fail(kExitUsage, "usage: counts");
    }
    auto list = loadList(context);
    context.out() << dumpJson(severityCounts(list->store.counters())) << '\n';
    return kExitOk;
}

Json severityCounts(const SeverityCounters& counters) {
    Json counts = Json::object();
    for (const Severity severity : kAllSeverities) {
        counts[std::string(popupOptionTitle(severity))] = counters[severity];
    }
    return counts;
}

} // namespace velmora::cli
