#include <memory>
#include <string>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "core/archive/Value.h"
#include "core/settings/SettingsStore.h"
#include "popup/PopupSound.h"
#include "popup/PopupThread.h"
#include "popup/PopupView.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::cell;
using test::runQueued;

namespace {

Dictionary notification(const char* type, const char* date = "1700000000",
                        const char* priority = "Local7.Debug", const char* message = "hello") {
    return Dictionary{{"Type", type},
                      {"Date", date},
                      {"Priority", priority},
                      {"Host", "10.0.0.1"},
                      {"Message", message}};
}

Dictionary with(Dictionary d, const char* key, Value value) {
    d.set(key, std::move(value));
    return d;
}

} // namespace

// The live path: what each server notification does to the list, the table, the counters and
// the popup queue.
class LiveNotificationTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void setAndRemoveFollowTheServer();
    void setWhileScanShowsIsDecoratedAtOnce();
    void notificationsOfOtherFormsChangeNothing();
    void oddFieldsAreKeptSafely();
    void queuesOnlyWhenPopupsOrASoundAreOn_data();
    void queuesOnlyWhenPopupsOrASoundAreOn();

private:
    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<WindowController> m_window;

    void openWindow(const Dictionary& settings = {}) {
        if (!settings.empty()) {
            QVERIFY(SettingsStore(m_data->path().toStdString()).saveDictionary(settings).ok());
        }
        m_delegate = std::make_unique<AppDelegate>(m_data->path().toStdString());
        m_window = std::make_unique<WindowController>(*m_delegate);
        m_delegate->setWindowController(m_window.get());
        m_window->show();
    }
    EventTableModel& model() const { return m_window->scanView().model(); }
    const EventStore& store() const { return m_delegate->eventStore(); }
    QString top(int column) const {
        runQueued();
        return cell(model(), 0, column).toString();
    }
};

void LiveNotificationTest::initTestCase() {
    qRegisterMetaType<PopupView*>();
}

void LiveNotificationTest::init() {
    m_data = std::make_unique<QTemporaryDir>();
    QVERIFY(m_data->isValid());
    qputenv("XDG_CONFIG_HOME", m_data->filePath("config").toLocal8Bit());
}

void LiveNotificationTest::cleanup() {
    m_window.reset();
    m_delegate.reset();
    m_data.reset();
}

void LiveNotificationTest::setAndRemoveFollowTheServer() {
    openWindow();
    m_window->syslogNotify(notification("Set", "1700000000", "Kern.Error", "first"));
    m_window->syslogNotify(with(notification("Set", "1700000001", "Local7.Debug", "second"),
                                "Sequence", Value(std::int64_t{42})));
    runQueued();
    QCOMPARE(model().rowCount(), 2);
    // The Scan page is hidden: the date stays as the server sent it.
    QCOMPARE(top(EventTableModel::DateColumn), "1700000001");
    QCOMPARE(top(EventTableModel::MessageColumn), "second");
    const Dictionary* extras = store().extras(store().at(0));
    QVERIFY(extras != nullptr);
    QCOMPARE(*extras, (Dictionary{{"Sequence", Value(std::int64_t{42})}}));

    // A removal looks for the date as the table shows it: rows the table has not shown yet
    // still hold the server's seconds and are not found.
    m_window->syslogNotify(notification("Remove", "1700000000", "Kern.Error", "first"));
    QCOMPARE(model().rowCount(), 2);

    m_window->scan();
    m_window->syslogNotify(notification("Remove", "1700000000", "Kern.Error", "first"));
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(top(EventTableModel::MessageColumn), "second");
    // A removal leaves the counters, and one that matches nothing leaves everything.
    m_window->syslogNotify(notification("Remove", "1700000000", "Kern.Error", "first"));
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(store().counters()[Severity::Error], 1);
}

void LiveNotificationTest::setWhileScanShowsIsDecoratedAtOnce() {
    openWindow();
    m_window->scan();
    m_window->syslogNotify(notification("Set", "1700000000", "Auth.Critical"));
    QCOMPARE(top(EventTableModel::DateColumn), "2023-11-14 22:13:20");
    QCOMPARE(cell(model(), 0, 0, EventTableModel::ImageNameRole).toString(), "Severe");
}

void LiveNotificationTest::notificationsOfOtherFormsChangeNothing() {
    openWindow();
    Dictionary noType = notification("Set");
    noType.erase("Type");
    const Dictionary cases[] = {
        noType,
        notification("set"),
        notification("Delete"),
        with(notification("Set"), "Type", Value(std::int64_t{1})),
        with(notification("Set"), "Type", Value(Array{Value("Set")})),
        Dictionary{},
    };
    for (const Dictionary& userInformation : cases) {
        m_window->syslogNotify(userInformation);
    }
    runQueued();
    QCOMPARE(model().rowCount(), 0);
    QCOMPARE(store().counters()[Severity::Debug], 0);
}

void LiveNotificationTest::oddFieldsAreKeptSafely() {
    openWindow();
    // A date that is no text: the event comes without one.
    m_window->syslogNotify(with(notification("Set"), "Date", Value(std::int64_t{1700000000})));
    QCOMPARE(top(EventTableModel::DateColumn), QString());
    QCOMPARE(top(EventTableModel::PriorityColumn), "Local7.Debug");

    // No priority at all: counted as Unknown.
    Dictionary noPriority = notification("Set");
    noPriority.erase("Priority");
    m_window->syslogNotify(noPriority);
    QCOMPARE(top(EventTableModel::PriorityColumn), QString());
    QCOMPARE(store().counters()[Severity::Unknown], 1);

    // A message of megabytes is kept whole; the table shows its beginning, cut between
    // characters, and stays quick to paint.
    std::string huge(8 << 20, 'm');
    huge.replace(4095, 2, "\u00e9");
    m_window->syslogNotify(notification("Set", "1700000002", "Local7.Debug", huge.c_str()));
    QCOMPARE(store().message(store().at(0))->size(), huge.size());
    m_window->scan();
    QCOMPARE(top(EventTableModel::DateColumn), "2023-11-14 22:13:22");
    const QString shown = top(EventTableModel::MessageColumn);
    QCOMPARE(shown, QString(4095, QLatin1Char('m')));
}

void LiveNotificationTest::queuesOnlyWhenPopupsOrASoundAreOn_data() {
    QTest::addColumn<int>("popupEvents");
    QTest::addColumn<bool>("sound");
    QTest::newRow("popups and sound off") << 0 << false;
    QTest::newRow("sound only") << 0 << true;
    QTest::newRow("popups only") << 1 << false;
}

void LiveNotificationTest::queuesOnlyWhenPopupsOrASoundAreOn() {
    QFETCH(int, popupEvents);
    QFETCH(bool, sound);
    openWindow(Dictionary{
        {"popupEvents", popupEvents},
        {"popupSound", sound ? m_data->filePath("no-such.wav").toStdString() : std::string()},
        {"popupDisplayArray", Array{Value("Debug")}},
        {"popupPlayArray", Array{Value("Debug")}}});
    PopupThread& popups = m_window->popupThread();
    QSignalSpy shown(&popups, &PopupThread::popupShown);
    QSignalSpy soundTried(&popups.sound(), &PopupSound::failed);
    m_window->syslogNotify(notification("Set"));

    if (popupEvents > 0) {
        QVERIFY(shown.wait(5000));
        auto* popup = qobject_cast<PopupView*>(shown.at(0).at(0).value<QObject*>());
        QCOMPARE(popup->event(), store().at(0));
    } else if (sound) {
        QVERIFY(soundTried.wait(5000));
    } else {
        QCOMPARE(popups.queued(), 0u);
    }
    // Removals never reach the queue.
    m_window->syslogNotify(notification("Remove"));
    QCOMPARE(popups.queued(), 0u);
}

QTEST_MAIN(LiveNotificationTest)
#include "LiveNotificationTest.moc"
