#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include <QObject>
#include <QPointer>

#include "core/Result.h"
#include "core/eventlog/EventStore.h"
#include "core/settings/RuntimeSettings.h"
#include "core/settings/SettingsStore.h"

class QMenu;
class QMenuBar;

namespace velmora {

class WindowController;

// The one application object: it owns the settings file and pipe of the data directory, the
// run-time copy of the settings that the live event path reads for every event, and the event
// list. It also carries the application menu's page commands, which bring the main window back
// after it was closed.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(std::string dataDirectory, QObject* parent = nullptr);
    ~AppDelegate() override;

    const std::string& dataDirectory() const { return m_settings.dataDirectory(); }
    const SettingsStore& settingsStore() const { return m_settings; }
    RuntimeSettings& runtime() { return m_runtime; }
    const RuntimeSettings& runtime() const { return m_runtime; }
    EventStore& eventStore() { return m_events; }

    // The settings operations every settings page uses (readSettings, saveSettings:, setPipe:).
    std::optional<Bytes> readSettings() const;
    Status saveSettings(std::span<const std::uint8_t> bytes) const;
    Status setPipe(std::span<const std::uint8_t> bytes) const;

    void setWindowController(WindowController* window);
    WindowController* windowController() const;
    // Adds the application menu ("Velmora") to a window's menu bar.
    void populateApplicationMenu(QMenuBar& menuBar);
    // Adds the application menu's commands to a menu: the pages, About, and Quit.
    void addApplicationCommands(QMenu& menu);

public slots:
    // The application menu's commands (Home:, Scan:, Reports:, Tools:, About:).
    void home();
    void scan();
    void reports();
    void tools();
    void about();
    // Shows the main window, closed or not, in front.
    void showWindow();

private:
    SettingsStore m_settings;
    RuntimeSettings m_runtime;
    EventStore m_events;
    QPointer<WindowController> m_window;

    // The window to forward a command to, shown in front; none while a sheet or an alert is
    // up, which comes forward instead and keeps its page under it.
    WindowController* revealWindow();
};

} // namespace velmora
