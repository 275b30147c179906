#include <optional>
#include <string>

#include "cli/Commands.h"
#include "cli/JsonValue.h"
#include "core/eventlog/EventStore.h"
#include "core/eventlog/LogLoader.h"
#include "core/presentation/OverallLevel.h"
#include "core/settings/RuntimeSettings.h"
#include "core/settings/ServerStatus.h"
#include "core/system/ProcessTable.h"

namespace velmora::cli {

namespace {

Json statusLine(const char* flag, bool value, std::string_view text) {
    Json line = Json::object();
    line[flag] = value;
    line["status"] = std::string(text);
    return line;
}

// The overall level of the list as the console loads it: the Home page starts from Normal and
// keeps it when the levels give no level.
Json levelOf(const EventStore& store, const RuntimeSettings& runtime) {
    const Level level =
        nextSeverityStatus(Level::Normal, overallLevel(store.counters(), runtime.levels));
    Json json = Json::object();
    json["value"] = static_cast<int>(level);
    json["name"] = std::string(levelImageName(level));
    json["sentence"] = std::string(overallLevelSentence(level));
    return json;
}

} // namespace

int statusCommand(const Context& context) {
    if (!context.arguments.empty()) {
        return context.fail(kExitUsage, "usage: status");
    }
    const std::optional<Dictionary> settings = context.store.readDictionary();
    const RuntimeSettings runtime = RuntimeSettings::load(settings);
    EventStore store;
    loadLogFiles(context.store.dataDirectory(), store);

    const bool running = isProcessRunning(kServerProcessName);
    const bool actions = actionsEnabled(settings);
    const bool exporting = exportEnabled(settings);
    Json status = Json::object();
    status["server"] = statusLine("running", running, monitorStatusText(running));
    status["actions"] = statusLine("enabled", actions, actionsStatusText(actions));
    status["export"] = statusLine("enabled", exporting, exportStatusText(exporting));
    status["level"] = levelOf(store, runtime);
    status["counts"] = severityCounts(store.counters());
    context.out() << dumpJson(status) << '\n';
    return kExitOk;
}

} // namespace velmora::cli
