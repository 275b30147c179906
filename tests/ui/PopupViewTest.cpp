#include "popup/PopupView.h"

#include <memory>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScreen>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "core/eventlog/EventStore.h"
#include "popup/PopupViewTitle.h"
#include "scan/ScanViewEvent.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::record;

namespace {

QImage picture(const QString& resource) {
    return QIcon(resource).pixmap(40, 40).toImage();
}

QSettings userDefaults() {
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Velmora"));
}

QRect openFrame() {
    const QRect visible = QGuiApplication::primaryScreen()->availableGeometry();
    return {visible.width() - PopupView::kSize.width(),
            visible.y() + visible.height() - PopupView::kSize.height(), PopupView::kSize.width(),
            PopupView::kSize.height()};
}

} // namespace

class PopupViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void showsTheEventInTheColoursOfItsLevel_data();
    void showsTheEventInTheColoursOfItsLevel();
    void showsTheDateAsTheListHoldsIt();
    void growsUpwardFromTheBottomRightCorner();
    void runsItsCourseThenSignalsOnce();
    void signalsOnceHoweverItGoes_data();
    void signalsOnceHoweverItGoes();
    void learnMoreOpensTheDetailsWithoutStepping();

private:
    QTemporaryDir m_config;
    std::unique_ptr<EventStore> m_store;
    std::shared_ptr<PopupCondition> m_condition;

    QPointer<PopupView> popupFor(const EventFields& fields, std::int64_t popupTime = 60) {
        const EventId event = m_store->insert(fields);
        m_condition = std::make_shared<PopupCondition>();
        return new PopupView(*m_store, event, popupTime, m_condition);
    }
};

void PopupViewTest::initTestCase() {
    // The popup's levels live in the user's settings: these tests keep theirs aside.
    QVERIFY(m_config.isValid());
    qputenv("XDG_CONFIG_HOME", m_config.path().toLocal8Bit());
}

void PopupViewTest::init() {
    userDefaults().clear();
    m_store = std::make_unique<EventStore>();
}

void PopupViewTest::cleanup() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (qobject_cast<PopupView*>(window) || qobject_cast<ScanViewEvent*>(window)) {
            delete window;
        }
    }
    m_store.reset();
}

void PopupViewTest::showsTheEventInTheColoursOfItsLevel_data() {
    QTest::addColumn<QString>("priority");
    QTest::addColumn<QVariantMap>("defaults");
    QTest::addColumn<QString>("image"); // empty: the popup's own picture stays
    QTest::addColumn<QString>("header");
    QTest::addColumn<QColor>("bar");

    const QColor green = QColor::fromRgbF(0.31f, 0.75f, 0.15f);
    const QColor amber = QColor::fromRgbF(1.0f, 0.8f, 0.0f);
    const QColor red = QColor::fromRgbF(0.8f, 0.0f, 0.0f);
    QTest::newRow("no user levels: every level 0")
        << "Kern.Emergency" << QVariantMap{} << ":/icons/normal.svg"
        << "Emergency" << green;
    QTest::newRow("informational raised to moderate")
        << "Local7.Informational" << QVariantMap{{"severityInformation", 1}}
        << ":/icons/moderate.svg"
        << "Informational" << amber;
    QTest::newRow("first word in severity order wins")
        << "Alerter.Debug" << QVariantMap{{"severityAlerting", 2}, {"severityDebug", 0}}
        << ":/icons/severe.svg"
        << "Debug" << red;
    QTest::newRow("AppName present: the built-in levels")
        << "Kern.Error" << QVariantMap{{"AppName", "Velmora"}, {"severityError", 2}}
        << ":/icons/moderate.svg"
        << "Error" << amber;
    QTest::newRow("unknown severity")
        << "Foo.Bar" << QVariantMap{{"severityUnknown", 2}} << ":/icons/severe.svg"
        << "Bar" << red;
    QTest::newRow("level outside 0 to 2") << "User.Notice" << QVariantMap{{"severityNotice", 7}}
                                          << QString() << "Notice" << QColor(Qt::black);
    QTest::newRow("priority starting with a dot")
        << ".Debug" << QVariantMap{} << ":/icons/normal.svg"
        << ".Debug" << green;
    QTest::newRow("priority without a dot") << "Debug" << QVariantMap{} << ":/icons/normal.svg"
                                            << "Debug" << green;
}

void PopupViewTest::showsTheEventInTheColoursOfItsLevel() {
    QFETCH(QString, priority);
    QFETCH(QVariantMap, defaults);
    QFETCH(QString, image);
    QFETCH(QString, header);
    QFETCH(QColor, bar);
    {
        QSettings settings = userDefaults();
        for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
            settings.setValue(it.key(), it.value());
        }
    }
    const std::string text = priority.toStdString();
    QPointer<PopupView> popup = popupFor(record("1700000000", text));
    popup->show();

    const QImage shown = popup->findChild<QLabel*>("popupImage")->pixmap().toImage();
    QCOMPARE(shown, picture(image.isEmpty() ? ":/icons/velmora.svg" : image));
    QCOMPARE(popup->findChild<QLabel*>("popupHeader")->text(), header);
    auto* title = popup->findChild<PopupViewTitle*>();
    title->resize(PopupView::kSize);
    const QImage drawn = title->grab().toImage();
    QCOMPARE(drawn.pixelColor(1, 1).rgb(), bar.rgb());
    // Below the bar the popup is white.
    QCOMPARE(drawn.pixelColor(1, PopupViewTitle::kBarHeight + 2), QColor(Qt::white));
}

void PopupViewTest::showsTheDateAsTheListHoldsIt() {
    // Not yet shown by the events table: the date as the server sent it.
    QPointer<PopupView> raw = popupFor(record("1700000000", "Local7.Debug", "10.0.0.1", "a, b"));
    raw->show();
    QCOMPARE(raw->findChild<QPlainTextEdit*>("popupDetails")->toPlainText(),
             "Date: 1700000000\nPriority: Local7.Debug\nHost: 10.0.0.1\n\nMessage:\na, b");

    const EventId shown = m_store->insertDecorated(record("1700000060", "Kern.Error", "db", "x"),
                                                   {}, "", kDefaultSeverityLevels);
    PopupView decorated(*m_store, shown, 60, nullptr);
    decorated.show();
    QCOMPARE(decorated.findChild<QPlainTextEdit*>("popupDetails")->toPlainText(),
             "Date: 2023-11-14 22:14:20\nPriority: Kern.Error\nHost: db\n\nMessage:\nx");
    QCOMPARE(decorated.findChild<QLabel*>("popupAbout")->text(), "Learn more about this event...");

    // A long message with no space in it is shown whole, and at once.
    const std::string huge(256 << 10, 'x');
    const EventId big = m_store->insert(record("1700000000", "Local7.Debug", "h", huge));
    PopupView longMessage(*m_store, big, 60, nullptr);
    longMessage.show();
    const QString details = longMessage.findChild<QPlainTextEdit*>("popupDetails")->toPlainText();
    QVERIFY(details.endsWith("Message:\n" + QString::fromStdString(huge)));
}

void PopupViewTest::growsUpwardFromTheBottomRightCorner() {
    QPointer<PopupView> popup = popupFor(record("1700000000", "Local7.Debug"));
    QVERIFY(popup->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(popup->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    popup->show();
    const QRect open = openFrame();
    // It starts as a line on the bottom edge of the available area, at its right.
    QCOMPARE(popup->geometry().bottom(), open.bottom());
    QCOMPARE(popup->geometry().x(), open.x());
    QVERIFY(popup->geometry().height() <= 1);
    QTRY_COMPARE_WITH_TIMEOUT(popup->geometry(), open, 3000);
}

void PopupViewTest::runsItsCourseThenSignalsOnce() {
    QPointer<PopupView> popup = popupFor(record("1700000000", "Local7.Debug"), 1);
    QSignalSpy gone(popup.data(), &PopupView::gone);
    QElapsedTimer shown;
    shown.start();
    popup->show();
    QVERIFY(!m_condition->signalled());

    QVERIFY(gone.wait(10'000));
    // A second to grow, one open, one to shrink.
    QVERIFY2(shown.elapsed() >= 2900, qPrintable(QString::number(shown.elapsed())));
    QVERIFY(m_condition->signalled());
    QTRY_VERIFY(popup.isNull());
    QCOMPARE(gone.count(), 1);
}

void PopupViewTest::signalsOnceHoweverItGoes_data() {
    QTest::addColumn<QString>("how");
    QTest::newRow("closed early") << "close";
    QTest::newRow("destroyed as the program quits") << "delete";
    QTest::newRow("timed out early, then closed") << "timeout";
}

void PopupViewTest::signalsOnceHoweverItGoes() {
    QFETCH(QString, how);
    QPointer<PopupView> popup = popupFor(record("1700000000", "Local7.Debug"));
    int signalCount = 0;
    connect(popup, &PopupView::gone, this, [&signalCount] { ++signalCount; });
    popup->show();

    if (how == "close") {
        popup->close();
    } else if (how == "delete") {
        delete popup;
    } else {
        popup->popupTimeout();
        QTRY_VERIFY_WITH_TIMEOUT(popup.isNull(), 3000);
    }
    QVERIFY(m_condition->signalled());
    QTRY_VERIFY(popup.isNull());
    QCOMPARE(signalCount, 1);
}

void PopupViewTest::learnMoreOpensTheDetailsWithoutStepping() {
    QPointer<PopupView> popup = popupFor(record("1700000000", "Local7.Debug"));
    popup->show();
    QTest::mouseClick(popup->findChild<QLabel*>("popupAbout"), Qt::LeftButton);

    ScanViewEvent* details = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        details = details ? details : qobject_cast<ScanViewEvent*>(window);
    }
    QVERIFY(details != nullptr);
    QVERIFY(details->isVisible());
    QCOMPARE(details->eventId(), popup->event());
    QVERIFY(details->hideButtons());
    QCOMPARE(details->windowModality(), Qt::ApplicationModal);
    QCOMPARE(details->windowTitle(), "Velmora Event");
    // The popup goes its way; the details stay.
    popup->close();
    QTRY_VERIFY(popup.isNull());
    QVERIFY(details->isVisible());
}

QTEST_MAIN(PopupViewTest)
#include "PopupViewTest.moc"
