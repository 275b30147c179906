#pragma once

#include <memory>

#include <QMainWindow>

#include "app/Page.h"
#include "core/archive/Value.h"
#include "core/eventlog/EventStore.h"

class QAbstractButton;
class QButtonGroup;
class QMenu;

namespace Ui {
class WindowController;
}

namespace velmora {

class AppDelegate;
class HomeView;
class NotificationObserver;
class PopupThread;
class ReportsView;
class ScanView;
class ToolsView;
class ToolsViewActions;
class ToolsViewExport;
class ToolsViewOptions;

// The main window: a title bar with the navigation buttons over the stack of the seven pages.
// It builds the event list at start and is the one entry of new and removed events.
class WindowController : public QMainWindow {
    Q_OBJECT

public:
    explicit WindowController(AppDelegate& delegate, QWidget* parent = nullptr);
    ~WindowController() override;

    Page currentPage() const;
    ScanView& scanView() const { return *m_scan; }

    // A new event (setNotification:): counted and put at the top of the list, decorated at once
    // when the events page is on screen, else as received; the dashboard recounts when it is
    // on screen. Returns the event, which the popup queue shares.
    EventId setNotification(const EventFields& record, Dictionary extras = {});
    // An event the server removed (removeNotification:): the events page drops its row.
    void removeNotification(const EventFields& record);
    // One server notification's user information (syslogNotify:): a "Set" enters the list and,
    // when popups or a popup sound are on, the popup queue; a "Remove" removes its row.
    void syslogNotify(const Dictionary& userInformation);

    PopupThread& popupThread() const { return *m_popupThread; }

    // The help drop-down, built anew each time; exposed for the title bar's button and tests.
    QMenu* buildHelpMenu();

public slots:
    // Home:, Scan:, Reports:, Tools:
    void home();
    void scan();
    void reports();
    void tools();
    // Help:, HelpDropDown:, About:
    void help();
    void helpDropDown();
    void about();

    void showPage(velmora::Page page);
    // Options, Actions or Export, remembering the page to return to.
    void openSettingsPage(velmora::Page page, velmora::Page parentTab);

private:
    std::unique_ptr<Ui::WindowController> m_ui;
    AppDelegate& m_delegate;
    QButtonGroup* m_navigation = nullptr;
    HomeView* m_home = nullptr;
    ScanView* m_scan = nullptr;
    ReportsView* m_reports = nullptr;
    ToolsView* m_tools = nullptr;
    ToolsViewOptions* m_options = nullptr;
    ToolsViewActions* m_actions = nullptr;
    ToolsViewExport* m_export = nullptr;
    NotificationObserver* m_observer = nullptr;
    // Last, so that its thread ends and its popup closes before the pages go.
    std::unique_ptr<PopupThread> m_popupThread;

    void buildPages();
    void connectNavigation();
    void followPage(int index);

    void windowDidLoad();
    void initializeLog();
    void sizeToMinimumAndCentre();
    void startPopupQueue();
    void registerNotificationObserver();
};

} // namespace velmora
