#include "app/AppDelegate.h"

#include <utility>

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

#include "app/WindowController.h"

namespace velmora {

AppDelegate::AppDelegate(std::string dataDirectory, QObject* parent)
    : QObject(parent)
    , m_settings(std::move(dataDirectory)) {}

AppDelegate::~AppDelegate() = default;

std::optional<Bytes> AppDelegate::readSettings() const {
    return m_settings.readSettings();
}

Status AppDelegate::saveSettings(std::span<const std::uint8_t> bytes) const {
    return m_settings.saveSettings(bytes);
}

Status AppDelegate::setPipe(std::span<const std::uint8_t> bytes) const {
    return m_settings.setPipe(bytes);
}

void AppDelegate::setWindowController(WindowController* window) {
    m_window = window;
}

WindowController* AppDelegate::windowController() const {
    return m_window;
}

void AppDelegate::populateApplicationMenu(QMenuBar& menuBar) {
    QMenu* menu = menuBar.addMenu(tr("Velmora"));
    menu->setObjectName(QStringLiteral("applicationMenu"));
    addApplicationCommands(*menu);
}

void AppDelegate::addApplicationCommands(QMenu& menu) {
    struct Command {
        const char* text;
        const char* name;
        void (AppDelegate::*slot)();
    };
    static constexpr Command kCommands[] = {
        {QT_TR_NOOP("Home"), "menuHome", &AppDelegate::home},
        {QT_TR_NOOP("Scan"), "menuScan", &AppDelegate::scan},
        {QT_TR_NOOP("Reports"), "menuReports", &AppDelegate::reports},
        {QT_TR_NOOP("Tools"), "menuTools", &AppDelegate::tools},
        {QT_TR_NOOP("About Velmora"), "menuAbout", &AppDelegate::about},
    };
    for (const Command& command : kCommands) {
        QAction* action = menu.addAction(tr(command.text));
        action->setObjectName(QString::fromLatin1(command.name));
        connect(action, &QAction::triggered, this, command.slot);
    }
    menu.addSeparator();
    QAction* quit = menu.addAction(tr("Quit Velmora"));
    quit->setObjectName(QStringLiteral("menuQuit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, qApp, &QApplication::quit, Qt::QueuedConnection);
}

void AppDelegate::showWindow() {
    revealWindow();
}

WindowController* AppDelegate::revealWindow() {
    if (!m_window) {
        return nullptr;
    }
    // Closed, the window is only hidden, or it may be minimised: it comes back in front.
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
    if (QWidget* modal = QApplication::activeModalWidget()) {
        modal->raise();
        modal->activateWindow();
        return nullptr;
    }
    return m_window;
}

void AppDelegate::home() {
    if (WindowController* window = revealWindow()) {
        window->home();
    }
}

void AppDelegate::scan() {
    if (WindowController* window = revealWindow()) {
        window->scan();
    }
}

void AppDelegate::reports() {
    if (WindowController* window = revealWindow()) {
        window->reports();
    }
}

void AppDelegate::tools() {
    if (WindowController* window = revealWindow()) {
        window->tools();
    }
}

void AppDelegate::about() {
    if (WindowController* window = revealWindow()) {
        window->about();
    }
}

} // namespace velmora
