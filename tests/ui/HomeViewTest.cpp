#include "home/HomeView.h"

#include <array>
#include <memory>
#include <optional>

#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "core/Version.h"
#include "core/archive/Value.h"
#include "core/settings/SettingsStore.h"
#include "core/system/ProcessTable.h"
#include "home/HomeViewBar.h"
#include "home/HomeViewBox.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::record;
using test::runQueued;

using MaybeSettings = std::optional<velmora::Dictionary>;
Q_DECLARE_METATYPE(MaybeSettings)

namespace {

const QStringList kCounterNames = {"eventsEmergency",   "eventsAlerting", "eventsCritical",
                                   "eventsError",       "eventsWarning",  "eventsNotice",
                                   "eventsInformation", "eventsDebug",    "eventsUnknown"};

// What each overall level must look like.
struct ExpectedLook {
    const char* sentence;
    const char* image;
    QColor box;
    QColor innerBox;
    QColor barStart;
};

const std::array<ExpectedLook, 3> kLooks = {{
    {"No unwanted or harmful events detected.", ":/icons/normal.svg",
     QColor::fromRgbF(0.57f, 0.89f, 0.46f), QColor::fromRgbF(0.78f, 0.95f, 0.73f),
     QColor::fromRgbF(0.70f, 0.92f, 0.70f)},
    {"Review potentialy unwanted events.", ":/icons/moderate.svg",
     QColor::fromRgbF(0.99f, 0.89f, 0.67f), QColor::fromRgbF(0.99f, 0.94f, 0.83f),
     QColor::fromRgbF(0.99f, 0.93f, 0.41f)},
    {"Review harmful or potentialy unwanted events.", ":/icons/severe.svg",
     QColor::fromRgbF(0.98f, 0.73f, 0.76f), QColor::fromRgbF(0.98f, 0.84f, 0.83f),
     QColor::fromRgbF(0.96f, 0.62f, 0.60f)},
}};

bool near(QColor actual, QColor expected) {
    return qAbs(actual.red() - expected.red()) <= 2 &&
           qAbs(actual.green() - expected.green()) <= 2 &&
           qAbs(actual.blue() - expected.blue()) <= 2 && actual.alpha() == 255;
}

QString describe(QColor color) {
    return QStringLiteral("rgb(%1, %2, %3)").arg(color.red()).arg(color.green()).arg(color.blue());
}

// The levels of a settings file written by the Options page with its defaults, but for `changes`.
Dictionary levelSettings(std::initializer_list<Dictionary::Entry> changes) {
    Dictionary settings{
        {"severityEmergency", 2},   {"severityAlerting", 2}, {"severityCritical", 2},
        {"severityError", 1},       {"severityWarning", 1},  {"severityNotice", 1},
        {"severityInformation", 0}, {"severityDebug", 0},    {"severityUnknown", 0}};
    for (const auto& [key, value] : changes) {
        settings.set(key, value);
    }
    return settings;
}

} // namespace

class HomeViewTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void dashboardSumsUpTheListAndTheSettings_data();
    void dashboardSumsUpTheListAndTheSettings();
    void newEventsRecountWhileShown();
    void hiddenPageCatchesUpWhenShown();
    void statusLinesAreReadOnEveryShowing();

private:
    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<WindowController> m_window;

    void writeLog(const QByteArray& lines) const;
    void saveSettings(const Dictionary& settings) const;
    void openWindow();
    HomeView& home() const { return *m_window->findChild<HomeView*>(); }
    QString text(const char* name) const { return home().findChild<QLabel*>(name)->text(); }
    QStringList counts() const;
    void verifyLook(int level) const;
};

void HomeViewTest::init() {
    m_data = std::make_unique<QTemporaryDir>();
    QVERIFY(m_data->isValid());
}

void HomeViewTest::cleanup() {
    m_window.reset();
    m_delegate.reset();
    m_data.reset();
}

void HomeViewTest::writeLog(const QByteArray& lines) const {
    QFile file(m_data->filePath("events.log"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(lines);
}

void HomeViewTest::saveSettings(const Dictionary& settings) const {
    QVERIFY(SettingsStore(m_data->path().toStdString()).saveDictionary(settings).ok());
}

void HomeViewTest::openWindow() {
    m_delegate = std::make_unique<AppDelegate>(m_data->path().toStdString());
    m_window = std::make_unique<WindowController>(*m_delegate);
    m_delegate->setWindowController(m_window.get());
    m_window->show();
    QVERIFY(home().isVisible());
}

QStringList HomeViewTest::counts() const {
    QStringList texts;
    for (const QString& name : kCounterNames) {
        texts << home().findChild<QLabel*>(name)->text();
    }
    return texts;
}

// The sentence, the image, the two frames and the start of the bar, as drawn.
void HomeViewTest::verifyLook(int level) const {
    const ExpectedLook& look = kLooks[static_cast<std::size_t>(level)];
    QCOMPARE(static_cast<int>(home().severityStatus()), level);
    QCOMPARE(text("eventsTitle"), look.sentence);

    const auto* image = home().findChild<QLabel*>("eventsImage");
    const QImage expectedImage =
        QIcon(look.image).pixmap(image->size(), image->devicePixelRatioF()).toImage();
    QCOMPARE(image->pixmap().toImage(), expectedImage);

    for (const auto& [name, colour] :
         {std::pair{"eventsBox", look.box}, std::pair{"eventsInnerBox", look.innerBox}}) {
        auto* box = home().findChild<HomeViewBox*>(name);
        const QImage drawn = box->grab().toImage();
        const QColor top = drawn.pixelColor(drawn.width() / 2, 0);
        const QColor left = drawn.pixelColor(0, drawn.height() / 2);
        QVERIFY2(near(top, colour) && near(left, colour), qPrintable(describe(top)));
    }

    auto* bar = home().findChild<HomeViewBar*>("eventsBar");
    const QImage drawn = bar->grab().toImage();
    const int middle = drawn.height() / 2;
    QVERIFY2(near(drawn.pixelColor(0, middle), look.barStart),
             qPrintable(describe(drawn.pixelColor(0, middle))));
    QVERIFY(near(drawn.pixelColor(drawn.width() - 1, middle), Qt::white));
}

void HomeViewTest::dashboardSumsUpTheListAndTheSettings_data() {
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<MaybeSettings>("settings");
    QTest::addColumn<int>("level");
    QTest::addColumn<QStringList>("counts");
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("exportLine");

    const QString noActions = "Do not use actions";
    const QString noExport = "Do not use export";
    QTest::newRow("default levels, only normal severities")
        << QByteArray("1700000000,Local7.Informational,h,a\n"
                      "1700000001,Local7.Debug,h,b\n"
                      "1700000002,Foo.Bar,h,c\n"
                      "1700000003,Auth.Information,h,d\n")
        << MaybeSettings() << 0 << QStringList{"0", "0", "0", "0", "0", "0", "1", "1", "2"}
        << noActions << noExport;
    QTest::newRow("one warning") << QByteArray("1700000000,Kern.Warning,h,a\n") << MaybeSettings()
                                 << 1 << QStringList{"0", "0", "0", "0", "1", "0", "0", "0", "0"}
                                 << noActions << noExport;
    QTest::newRow("warning raised to severe")
        << QByteArray("1700000000,Kern.Warning,h,a\n")
        << MaybeSettings(levelSettings({{"severityWarning", 2}})) << 2
        << QStringList{"0", "0", "0", "0", "1", "0", "0", "0", "0"} << noActions << noExport;
    QTest::newRow("emergency lowered to normal")
        << QByteArray("1700000000,Kern.Emergency,h,a\n1700000001,Kern.Debug,h,b\n")
        << MaybeSettings(levelSettings({{"severityEmergency", 0}})) << 0
        << QStringList{"1", "0", "0", "0", "0", "0", "0", "1", "0"} << noActions << noExport;
    QTest::newRow("lowered emergency beside a notice")
        << QByteArray("1700000000,Kern.Emergency,h,a\n1700000001,User.Notice,h,b\n")
        << MaybeSettings(levelSettings({{"severityEmergency", 0}})) << 1
        << QStringList{"1", "0", "0", "0", "0", "1", "0", "0", "0"} << noActions << noExport;
    // A file without level keys reads every level as 0.
    QTest::newRow("one disabled action")
        << QByteArray("1700000000,Kern.Critical,h,a\n")
        << MaybeSettings(Dictionary{
               {"actionsArray", Array{Dictionary{{"Name", "Idle"}, {"runCommand", Dictionary{}}}}}})
        << 0 << QStringList{"0", "0", "1", "0", "0", "0", "0", "0", "0"} << "Actions enabled"
        << noExport;
    QTest::newRow("database export only")
        << QByteArray() << MaybeSettings(Dictionary{{"textInterval", 0}, {"databaseInterval", 5}})
        << 0 << QStringList{"0", "0", "0", "0", "0", "0", "0", "0", "0"} << noActions
        << "Export enabled";
}

void HomeViewTest::dashboardSumsUpTheListAndTheSettings() {
    QFETCH(QByteArray, log);
    QFETCH(MaybeSettings, settings);
    QFETCH(int, level);
    QFETCH(QStringList, counts);
    QFETCH(QString, actions);
    QFETCH(QString, exportLine);
    writeLog(log);
    if (settings) {
        saveSettings(*settings);
    }
    openWindow();

    QCOMPARE(this->counts(), counts);
    verifyLook(level);
    QCOMPARE(text("statusActions"), actions);
    QCOMPARE(text("statusExport"), exportLine);
}

void HomeViewTest::newEventsRecountWhileShown() {
    openWindow();
    verifyLook(0);
    m_delegate->runtime().levels[Severity::Error] = 5;

    // One burst: the Warning raises the state, then the Errors' level, out of range, keeps it.
    m_window->setNotification(record("1700000000", "Kern.Warning"));
    for (int i = 0; i < 10000; ++i) {
        m_window->setNotification(record("1700000001", "Kern.Error"));
    }
    runQueued();
    QCOMPARE(text("eventsWarning"), "1");
    QCOMPARE(text("eventsError"), "10000");
    verifyLook(1);

    // Back in range, the next event moves the state again.
    m_delegate->runtime().levels[Severity::Error] = 1;
    m_window->setNotification(record("1700000002", "Kern.Critical"));
    runQueued();
    QCOMPARE(counts(), (QStringList{"0", "0", "1", "10000", "1", "0", "0", "0", "0"}));
    verifyLook(2);
}

void HomeViewTest::hiddenPageCatchesUpWhenShown() {
    openWindow();
    m_window->scan();
    m_window->setNotification(record("1700000000", "Kern.Alert"));
    m_window->setNotification(record("1700000001", "Local7.Debug"));
    m_window->home();
    QCOMPARE(counts(), (QStringList{"0", "1", "0", "0", "0", "0", "0", "1", "0"}));
    verifyLook(2);
}

void HomeViewTest::statusLinesAreReadOnEveryShowing() {
    openWindow();
    QCOMPARE(text("statusActions"), "Do not use actions");
    QCOMPARE(text("statusExport"), "Do not use export");
    QCOMPARE(text("statusMonitor"), isProcessRunning("VelmoraSrv") ? "Running" : "Stopped");
    QCOMPARE(text("statusVersion"), QStringLiteral("Linux program %1").arg(kVersion));

    m_window->tools();
    saveSettings(
        Dictionary{{"actionsArray", Array{Dictionary{{"Name", "Page"}}}}, {"textInterval", 10}});
    m_window->home();
    QCOMPARE(text("statusActions"), "Actions enabled");
    QCOMPARE(text("statusExport"), "Export enabled");

    m_window->tools();
    QVERIFY(QFile::remove(m_data->filePath("Velmora.ini")));
    m_window->home();
    QCOMPARE(text("statusActions"), "Do not use actions");
    QCOMPARE(text("statusExport"), "Do not use export");
}

QTEST_MAIN(HomeViewTest)
#include "HomeViewTest.moc"
