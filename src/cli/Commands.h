#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cli/Cli.h"
#include "cli/JsonValue.h"
#include "core/eventlog/SeverityCounters.h"
#include "core/settings/SettingsStore.h"

namespace velmora::cli {

// What every verb gets: its own arguments, the store of the data directory, and the streams.
struct Context {
    std::vector<std::string> arguments;
    SettingsStore store;
    const Environment& environment;

    std::ostream& out() const { return environment.out; }
    // Prints "velmoractl: MESSAGE" to standard error and returns the status.
    int fail(int status, const std::string& message) const;
};

int settingsCommand(const Context& context);
int eventsCommand(const Context& context);
int countsCommand(const Context& context);
int statusCommand(const Context& context);
int reportCommand(const Context& context);
int testMessageCommand(const Context& context);

// The events of each severity, keyed by the popup option titles ("Alert", "Information").
Json severityCounts(const SeverityCounters& counters);

} // namespace velmora::cli
