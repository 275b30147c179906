#include "app/WindowController.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include <QButtonGroup>
#include <QCursor>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QStyle>

#include "about/AboutView.h"
#include "actions/ToolsViewActions.h"
#include "app/AppDelegate.h"
#include "app/HelpGuide.h"
#include "app/Logging.h"
#include "app/NotificationObserver.h"
#include "core/eventlog/LiveNotification.h"
#include "core/eventlog/LogLoader.h"
#include "core/settings/RuntimeSettings.h"
#include "home/HomeView.h"
#include "popup/PopupThread.h"
#include "reports/ReportsView.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "tools/ToolsView.h"
#include "tools/ToolsViewExport.h"
#include "tools/ToolsViewOptions.h"
#include "ui_WindowController.h"

namespace velmora {

WindowController::WindowController(AppDelegate& delegate, QWidget* parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::WindowController>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/icons/velmora.svg")));
    buildPages();
    connectNavigation();
    m_delegate.populateApplicationMenu(*menuBar());
    windowDidLoad();
}

WindowController::~WindowController() = default;

void WindowController::buildPages() {
    // Added in page order: the index of a page in the stack is its Page value.
    m_home = new HomeView(m_delegate, m_ui->tabView);
    m_scan = new ScanView(m_delegate.eventStore(), m_delegate.runtime(), m_delegate.dataDirectory(),
                          m_ui->tabView);
    m_reports = new ReportsView(m_delegate, m_ui->tabView);
    m_tools = new ToolsView(m_ui->tabView);
    m_options = new ToolsViewOptions(m_delegate, m_ui->tabView);
    m_actions = new ToolsViewActions(m_delegate, m_ui->tabView);
    m_export = new ToolsViewExport(m_delegate, m_ui->tabView);
    for (QWidget* page : std::initializer_list<QWidget*>{m_home, m_scan, m_reports, m_tools,
                                                         m_options, m_actions, m_export}) {
        m_ui->tabView->addWidget(page);
    }
    m_ui->tabView->setCurrentIndex(static_cast<int>(Page::Home));
}

void WindowController::connectNavigation() {
    m_navigation = new QButtonGroup(this);
    m_navigation->addButton(m_ui->homeButton, static_cast<int>(Page::Home));
    m_navigation->addButton(m_ui->scanButton, static_cast<int>(Page::Scan));
    m_navigation->addButton(m_ui->reportsButton, static_cast<int>(Page::Reports));
    m_navigation->addButton(m_ui->toolsButton, static_cast<int>(Page::Tools));
    connect(m_ui->homeButton, &QToolButton::clicked, this, &WindowController::home);
    connect(m_ui->scanButton, &QToolButton::clicked, this, &WindowController::scan);
    connect(m_ui->reportsButton, &QToolButton::clicked, this, &WindowController::reports);
    connect(m_ui->toolsButton, &QToolButton::clicked, this, &WindowController::tools);
    connect(m_ui->helpButton, &QToolButton::clicked, this, &WindowController::helpDropDown);

    connect(m_ui->tabView, &QStackedWidget::currentChanged, this, &WindowController::followPage);
    connect(m_scan, &ScanView::settingsPageRequested, this, &WindowController::openSettingsPage);
    connect(m_tools, &ToolsView::settingsPageRequested, this, &WindowController::openSettingsPage);
    connect(m_options, &ToolsViewOptions::returnRequested, this, &WindowController::showPage);
    connect(m_actions, &ToolsViewActions::returnRequested, this, &WindowController::showPage);
    connect(m_export, &ToolsViewExport::returnRequested, this, &WindowController::showPage);
    followPage(m_ui->tabView->currentIndex());
}

void WindowController::followPage(int index) {
    // The settings pages belong to Tools, whose button stays lit while they show.
    m_navigation->button(std::min(index, static_cast<int>(Page::Tools)))->setChecked(true);
    qCDebug(lcApp) << "page" << index;
}

Page WindowController::currentPage() const {
    return static_cast<Page>(m_ui->tabView->currentIndex());
}

void WindowController::showPage(Page page) {
    m_ui->tabView->setCurrentIndex(static_cast<int>(page));
}

void WindowController::openSettingsPage(Page page, Page parentTab) {
    switch (page) {
    case Page::Options:
        m_options->setParentTab(parentTab);
        break;
    case Page::Actions:
        m_actions->setParentTab(parentTab);
        break;
    case Page::Export:
        m_export->setParentTab(parentTab);
        break;
    default:
        return;
    }
    showPage(page);
}

void WindowController::home() {
    showPage(Page::Home);
}

void WindowController::scan() {
    showPage(Page::Scan);
}

void WindowController::reports() {
    showPage(Page::Reports);
}

void WindowController::tools() {
    showPage(Page::Tools);
}

void WindowController::help() {
    // A guide that cannot be opened is passed over: failures of file access stay silent.
    if (!HelpGuide::open()) {
        qCWarning(lcApp) << "the user guide could not be opened";
    }
}

QMenu* WindowController::buildHelpMenu() {
    auto* menu = new QMenu(tr("Menu"), this);
    menu->setObjectName(QStringLiteral("helpMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(tr("Velmora Help...")), &QAction::triggered, this,
            &WindowController::help);
    menu->addSeparator();
    connect(menu->addAction(tr("About Velmora...")), &QAction::triggered, this,
            &WindowController::about);
    return menu;
}

void WindowController::helpDropDown() {
    buildHelpMenu()->popup(QCursor::pos() + QPoint(0, 20));
}

void WindowController::about() {
    auto* sheet = new AboutView(this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

EventId WindowController::setNotification(const EventFields& record, Dictionary extras) {
    const EventId id = m_scan->isVisible() ? m_scan->insertEvent(record, std::move(extras))
                                           : m_scan->model().insertRaw(record, std::move(extras));
    if (m_home->isVisible()) {
        m_home->setEventsStatus();
    }
    return id;
}

void WindowController::removeNotification(const EventFields& record) {
    m_scan->removeEvent(record);
}

void WindowController::syslogNotify(const Dictionary& userInformation) {
    LiveNotification notification = readLiveNotification(userInformation);
    switch (notification.type) {
    case NotificationType::Set: {
        const EventId event = setNotification(notification.fields, std::move(notification.extras));
        if (m_delegate.runtime().queuesPopups()) {
            m_popupThread->append(event, notification.fields.priority.value_or(""));
        }
        break;
    }
    case NotificationType::Remove:
        removeNotification(notification.fields);
        break;
    case NotificationType::Other:
        break;
    }
}

void WindowController::windowDidLoad() {
    initializeLog();
    sizeToMinimumAndCentre();
    startPopupQueue();
    registerNotificationObserver();
}

void WindowController::initializeLog() {
    QElapsedTimer timer;
    timer.start();
    LoadReport report;
    m_scan->model().rebuild([&](EventStore& store) {
        report = velmora::initializeLog(m_delegate.settingsStore(), store, m_delegate.runtime());
    });
    qCInfo(lcApp).nospace() << "data directory " << m_delegate.dataDirectory().c_str() << ": "
                            << report.events << " events from " << report.files << " files ("
                            << report.bytes << " bytes) in " << timer.elapsed() << " ms";
}

void WindowController::sizeToMinimumAndCentre() {
    resize(minimumSize().expandedTo(minimumSizeHint()));
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        setGeometry(QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, size(),
                                        screen->availableGeometry()));
    }
}

void WindowController::startPopupQueue() {
    m_popupThread =
        std::make_unique<PopupThread>(m_delegate.eventStore(), m_delegate.runtime(), this);
    m_popupThread->start();
}

void WindowController::registerNotificationObserver() {
    // Last: no event arrives before the list is loaded and the popup queue runs. Until now only
    // the log files fed the list. The server may post on the session bus or, running as a
    // system service, on the system bus.
    m_observer = new NotificationObserver(
        [this](const Dictionary& userInformation) { syslogNotify(userInformation); }, this);
    if (!m_observer->observe(QDBusConnection::sessionBus())) {
        qCWarning(lcApp) << "no session bus: new events show only after a restart";
    }
    if (QDBusConnection system = QDBusConnection::systemBus(); system.isConnected()) {
        m_observer->observe(system);
    }
}

} // namespace velmora
