#pragma once

#include <optional>
#include <string_view>

#include "core/archive/Value.h"

namespace velmora {

// The server's process name, as the kernel's process table shows it.
inline constexpr std::string_view kServerProcessName = "VelmoraSrv";

// Whether the settings ask the server for actions: a settings file with at least one action
// record, whether or not the actions in it are switched on. No file (nullopt) means no.
bool actionsEnabled(const std::optional<Dictionary>& settings);

// Whether the settings ask the server for a periodic export: a settings file with a text export
// interval above 0 or a database export interval of at least 1. The locations are not looked at.
bool exportEnabled(const std::optional<Dictionary>& settings);

// The dashboard's status lines.
std::string_view monitorStatusText(bool serverRunning); // "Running" / "Stopped"
std::string_view actionsStatusText(bool enabled);       // "Actions enabled" / "Do not use actions"
std::string_view exportStatusText(bool enabled);        // "Export enabled" / "Do not use export"

} // namespace velmora
