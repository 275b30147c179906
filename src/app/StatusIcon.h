#pragma once

#include <memory>

#include <QObject>

class QMenu;
class QSystemTrayIcon;

namespace velmora {

class AppDelegate;

// The console's icon in the desktop's status area: a StatusNotifierItem on the session bus
// where a panel hosts them, else an icon in an XEmbed system tray. Its menu holds the
// application menu's commands, Home, Scan, Reports, Tools, About and Quit; a click on the icon
// brings the main window back. While it is shown, closing the main window only hides it, and
// the console goes on following the server.
class StatusIcon : public QObject {
    Q_OBJECT

public:
    // Whether the desktop has a status area to show the icon in.
    static bool available();

    explicit StatusIcon(AppDelegate& delegate, QObject* parent = nullptr);
    ~StatusIcon() override;

private:
    // The icon goes before the menu it shows.
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace velmora
