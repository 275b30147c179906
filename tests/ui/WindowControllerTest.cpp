#include "app/WindowController.h"

#include <memory>

#include <QAbstractButton>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStringList>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include "about/AboutView.h"
#include "app/AppDelegate.h"
#include "app/ConsoleService.h"
#include "app/Page.h"
#include "app/ViewBar.h"
#include "core/archive/Value.h"
#include "core/settings/SettingsStore.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "tools/ToolsViewOptions.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::cell;
using test::record;
using test::runQueued;

Q_DECLARE_METATYPE(velmora::Page)

namespace {

QStringList actionTexts(const QMenu& menu) {
    QStringList texts;
    for (const QAction* action : menu.actions()) {
        texts << (action->isSeparator() ? QStringLiteral("---") : action->text());
    }
    return texts;
}

void writeText(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

// Takes the URLs the program asks the desktop to open.
class UrlCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls << url; }
};

class WindowControllerTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void startupLoadsTheListAndSizesTheWindow();
    void navigationButtonsSelectTheirPages_data();
    void navigationButtonsSelectTheirPages();
    void settingsPagesReturnToTheirOpener_data();
    void settingsPagesReturnToTheirOpener();
    void parentTabFollowsTheLatestOpener();
    void onlyTheToolsLinksAndScanActionsShowTheHand();
    void helpMenuOffersHelpThenAbout();
    void helpOpensTheBundledGuide();
    void applicationMenuLeavesTheSheetInFront();
    void oneConsoleNamePerDataDirectory();
    void newEventIsRawWhileScanIsHiddenAndDecoratedWhileShown();
    void newEventOnScanClearsTheSelection();
    void removeNotificationRemovesTheNewerTwin();
    void viewBarIsABlueGradientLeftToRight();

private:
    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<WindowController> m_window;
    UrlCatcher m_urls;

    void openWindow();
    QStackedWidget& pages() const { return *m_window->findChild<QStackedWidget*>("tabView"); }
    EventTableModel& model() const { return m_window->scanView().model(); }
};

void WindowControllerTest::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QDesktopServices::setUrlHandler("file", &m_urls, "open");
}

void WindowControllerTest::cleanupTestCase() {
    QDesktopServices::unsetUrlHandler("file");
}

void WindowControllerTest::init() {
    m_data = std::make_unique<QTemporaryDir>();
    QVERIFY(m_data->isValid());
    m_urls.urls.clear();
}

void WindowControllerTest::cleanup() {
    m_window.reset();
    m_delegate.reset();
    m_data.reset();
}

void WindowControllerTest::openWindow() {
    m_delegate = std::make_unique<AppDelegate>(m_data->path().toStdString());
    m_window = std::make_unique<WindowController>(*m_delegate);
    m_delegate->setWindowController(m_window.get());
    m_window->show();
}

void WindowControllerTest::startupLoadsTheListAndSizesTheWindow() {
    writeText(m_data->filePath("events.log"), "1700000000,Local7.Debug,10.0.0.1,first\n"
                                              "1700000001,Kern.Error,10.0.0.2,second\n"
                                              "no four fields here\n");
    writeText(m_data->filePath("ignored.LOG"), "1700000002,Kern.Error,10.0.0.3,third\n");
    QVERIFY(SettingsStore(m_data->path().toStdString())
                .saveDictionary(Dictionary{{"dateFormat", "dd.MM.yyyy HH:mm"}})
                .ok());
    openWindow();

    QCOMPARE(m_window->windowTitle(), "Velmora");
    QCOMPARE(m_window->currentPage(), Page::Home);
    QCOMPARE(model().rowCount(), 2);
    QCOMPARE(cell(model(), 0, EventTableModel::MessageColumn).toString(), "second");
    QCOMPARE(m_delegate->eventStore().counters()[Severity::Error], 1);
    QCOMPARE(m_delegate->runtime().newDateFormat, "dd.MM.yyyy HH:mm");
    QCOMPARE(m_delegate->runtime().oldDateFormat, "dd.MM.yyyy HH:mm");
    // A settings file without levels reads them as 0.
    QCOMPARE(m_delegate->runtime().levels[Severity::Emergency], 0);

    QCOMPARE(m_window->size(), m_window->minimumSize());
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(m_window->geometry().center(), screen.center());
}

void WindowControllerTest::navigationButtonsSelectTheirPages_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<Page>("page");
    QTest::newRow("Scan") << "scanButton" << Page::Scan;
    QTest::newRow("Reports") << "reportsButton" << Page::Reports;
    QTest::newRow("Tools") << "toolsButton" << Page::Tools;
    QTest::newRow("Home") << "homeButton" << Page::Home;
}

void WindowControllerTest::navigationButtonsSelectTheirPages() {
    QFETCH(QString, button);
    QFETCH(Page, page);
    openWindow();
    m_window->showPage(Page::Export);
    auto* pressed = m_window->findChild<QAbstractButton*>(button);
    QVERIFY(pressed != nullptr);

    QTest::mouseClick(pressed, Qt::LeftButton);
    QCOMPARE(m_window->currentPage(), page);
    QVERIFY(pressed->isChecked());
    QVERIFY(pages().currentWidget()->isVisible());
}

void WindowControllerTest::settingsPagesReturnToTheirOpener_data() {
    QTest::addColumn<Page>("opener");
    QTest::addColumn<QString>("link");
    QTest::addColumn<Page>("opened");

    QTest::newRow("Options from Tools") << Page::Tools << "toolsOptions" << Page::Options;
    QTest::newRow("Actions from Tools") << Page::Tools << "toolsActions" << Page::Actions;
    QTest::newRow("Export from Tools") << Page::Tools << "toolsExport" << Page::Export;
    QTest::newRow("Options from Scan") << Page::Scan << "scanOptions" << Page::Options;
    QTest::newRow("Actions from Scan") << Page::Scan << "scanActions" << Page::Actions;
}

void WindowControllerTest::settingsPagesReturnToTheirOpener() {
    QFETCH(Page, opener);
    QFETCH(QString, link);
    QFETCH(Page, opened);
    openWindow();
    m_window->showPage(opener);
    auto* label = pages().currentWidget()->findChild<QLabel*>(link);
    QVERIFY(label != nullptr);

    QTest::mouseClick(label, Qt::LeftButton);
    QCOMPARE(m_window->currentPage(), opened);
    auto* cancel = pages().currentWidget()->findChild<QPushButton*>("cancelButton");
    QVERIFY(cancel != nullptr);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QCOMPARE(m_window->currentPage(), opener);
}

void WindowControllerTest::parentTabFollowsTheLatestOpener() {
    openWindow();
    auto* options = m_window->findChild<ToolsViewOptions*>();
    m_window->openSettingsPage(Page::Options, Page::Scan);
    QCOMPARE(options->parentTab(), Page::Scan);
    m_window->tools();
    QTest::mouseClick(pages().currentWidget()->findChild<QLabel*>("toolsOptions"), Qt::LeftButton);
    QCOMPARE(options->parentTab(), Page::Tools);
    QTest::mouseClick(options->findChild<QPushButton*>("cancelButton"), Qt::LeftButton);
    QCOMPARE(m_window->currentPage(), Page::Tools);
}

void WindowControllerTest::onlyTheToolsLinksAndScanActionsShowTheHand() {
    openWindow();
    for (const char* name : {"toolsOptions", "toolsActions", "toolsExport", "scanActions"}) {
        QCOMPARE(m_window->findChild<QLabel*>(name)->cursor().shape(), Qt::PointingHandCursor);
    }
    QVERIFY(!m_window->findChild<QLabel*>("scanOptions")->testAttribute(Qt::WA_SetCursor));
}

void WindowControllerTest::helpMenuOffersHelpThenAbout() {
    openWindow();
    QTest::mouseClick(m_window->findChild<QAbstractButton*>("helpButton"), Qt::LeftButton);
    auto* menu = m_window->findChild<QMenu*>("helpMenu");
    QVERIFY(menu != nullptr);
    QVERIFY(menu->isVisible());
    QCOMPARE(menu->title(), "Menu");
    QCOMPARE(actionTexts(*menu), (QStringList{"Velmora Help...", "---", "About Velmora..."}));
    QVERIFY(menu->activeAction() == nullptr);
    for (const QAction* action : menu->actions()) {
        QVERIFY(action->shortcut().isEmpty());
    }

    menu->actions().at(2)->trigger();
    auto* about = m_window->findChild<AboutView*>();
    QVERIFY(about != nullptr);
    QVERIFY(about->isVisible());
    QCOMPARE(about->windowModality(), Qt::WindowModal);
}

void WindowControllerTest::helpOpensTheBundledGuide() {
    openWindow();
    m_window->buildHelpMenu()->actions().at(0)->trigger();
    QCOMPARE(m_urls.urls.size(), 1);
    QVERIFY(m_urls.urls[0].isLocalFile());
    QFile guide(m_urls.urls[0].toLocalFile());
    QVERIFY(guide.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(guide.readAll());
    for (const char* needed :
         {"No unwanted or harmful events detected.", "Review potentialy unwanted events.",
          "Review harmful or potentialy unwanted events.", "--data-dir", "VELMORA_DATA_DIR"}) {
        QVERIFY2(text.contains(QLatin1String(needed)), needed);
    }
}

// What closing the window does is the real program's, tested end to end; here, what the
// commands do with a sheet up.
void WindowControllerTest::applicationMenuLeavesTheSheetInFront() {
    openWindow();
    auto* menu = m_window->menuBar()->findChild<QMenu*>("applicationMenu");
    QVERIFY(menu != nullptr);
    QCOMPARE(menu->title(), "Velmora");
    QCOMPARE(actionTexts(*menu), (QStringList{"Home", "Scan", "Reports", "Tools", "About Velmora",
                                              "---", "Quit Velmora"}));

    m_window->findChild<QAction*>("menuAbout")->trigger();
    auto* about = m_window->findChild<AboutView*>();
    QVERIFY(about != nullptr && about->isVisible());
    m_window->findChild<QAction*>("menuReports")->trigger();
    m_window->findChild<QAction*>("menuAbout")->trigger();
    QCOMPARE(m_window->currentPage(), Page::Home);
    QCOMPARE(m_window->findChildren<AboutView*>().size(), 1);
}

// However the directory is written, and whether it exists yet or not.
void WindowControllerTest::oneConsoleNamePerDataDirectory() {
    const auto name = [&](const char* directory) {
        return ConsoleService::busName(m_data->filePath(directory).toStdString());
    };
    QVERIFY(QDir(m_data->path()).mkdir("real"));
    QVERIFY(QFile::link(m_data->filePath("real"), m_data->filePath("alias")));
    const QString later = name("later");
    QVERIFY(QDir(m_data->path()).mkdir("later"));
    QCOMPARE(name("later"), later);
    QVERIFY(later != name("real"));
    for (const char* same : {"real/", "./real", "alias", "alias/../real/."}) {
        QCOMPARE(name(same), name("real"));
    }
    QVERIFY(QRegularExpression("^com\\.kestrix\\.Velmora\\.Console\\.d[0-9a-f]{16}$")
                .match(name("real"))
                .hasMatch());
}

void WindowControllerTest::newEventIsRawWhileScanIsHiddenAndDecoratedWhileShown() {
    openWindow();
    const EventId hidden = m_window->setNotification(record("1700000000", "Local7.Debug"));
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(cell(model(), 0, EventTableModel::DateColumn).toString(), "1700000000");
    QVERIFY(!cell(model(), 0, 0, Qt::DecorationRole).isValid());
    QCOMPARE(m_delegate->eventStore().counters()[Severity::Debug], 1);

    m_window->scan();
    QCOMPARE(cell(model(), 0, EventTableModel::DateColumn).toString(), "2023-11-14 22:13:20");
    QCOMPARE(cell(model(), 0, 0, EventTableModel::ImageNameRole).toString(), "Normal");

    const EventId shown =
        m_window->setNotification(record("1700000060", "Kern.Error"), Dictionary{{"Tag", "x"}});
    runQueued();
    QCOMPARE(cell(model(), 0, EventTableModel::DateColumn).toString(), "2023-11-14 22:14:20");
    QCOMPARE(cell(model(), 0, 0, EventTableModel::ImageNameRole).toString(), "Moderate");
    QCOMPARE(m_delegate->eventStore().extras(shown)->string("Tag"), "x");
    QVERIFY(shown != hidden);

    // A closed window shows no page: the event enters as received.
    m_window->close();
    m_window->setNotification(record("1700000120", "Kern.Error"));
    runQueued();
    QCOMPARE(cell(model(), 0, EventTableModel::DateColumn).toString(), "1700000120");
}

void WindowControllerTest::newEventOnScanClearsTheSelection() {
    openWindow();
    m_window->scan();
    m_window->setNotification(record("1700000000", "Local7.Debug"));
    m_window->setNotification(record("1700000001", "Local7.Debug"));
    runQueued();
    QTableView& table = m_window->scanView().tableView();
    table.selectAll();
    QVERIFY(table.selectionModel()->hasSelection());

    m_window->setNotification(record("1700000002", "Local7.Debug"));
    QVERIFY(!table.selectionModel()->hasSelection());
}

void WindowControllerTest::removeNotificationRemovesTheNewerTwin() {
    openWindow();
    m_window->scan();
    const EventId older = m_window->setNotification(record("1700000000", "Local7.Debug"));
    m_window->setNotification(record("1700000000", "Local7.Debug"));
    m_window->removeNotification(record("1700000000", "Local7.Debug"));
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(cell(model(), 0, 0, EventTableModel::EventIdRole).value<quint32>(),
             static_cast<quint32>(older));
    // Removal leaves the counters as they are.
    QCOMPARE(m_delegate->eventStore().counters()[Severity::Debug], 2);
}

void WindowControllerTest::viewBarIsABlueGradientLeftToRight() {
    ViewBar bar;
    bar.resize(201, 30);
    const QImage image = bar.grab().toImage();
    const auto near = [](QColor actual, QColor expected) {
        return qAbs(actual.red() - expected.red()) <= 2 &&
               qAbs(actual.green() - expected.green()) <= 2 &&
               qAbs(actual.blue() - expected.blue()) <= 2 && actual.alpha() == 255;
    };
    QVERIFY(near(image.pixelColor(0, 15), QColor::fromRgbF(0.0f, 0.4f, 0.8f)));
    QVERIFY(near(image.pixelColor(100, 15), QColor::fromRgbF(0.2f, 0.6f, 0.9f)));
    QVERIFY(near(image.pixelColor(200, 15), QColor::fromRgbF(0.4f, 0.8f, 1.0f)));
    QCOMPARE(image.pixelColor(100, 0), image.pixelColor(100, 29));
}

QTEST_MAIN(WindowControllerTest)
#include "WindowControllerTest.moc"
