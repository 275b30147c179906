#include "app/NotificationObserver.h"

#include <vector>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QTest>

#include "core/archive/Value.h"

using namespace velmora;

using StringMap = QMap<QString, QString>;
Q_DECLARE_METATYPE(StringMap)

namespace {

QDBusMessage notification(const QString& path = NotificationObserver::kPath,
                          const QString& interface = NotificationObserver::kInterface,
                          const QString& member = NotificationObserver::kMember) {
    return QDBusMessage::createSignal(path, interface, member);
}

QVariantMap set(const QString& message) {
    return {{"Type", "Set"},
            {"Date", "1700000000"},
            {"Priority", "Local7.Debug"},
            {"Host", "10.0.0.1"},
            {"Message", message}};
}

Dictionary setRecord(const char* message) {
    return Dictionary{{"Type", "Set"},
                      {"Date", "1700000000"},
                      {"Priority", "Local7.Debug"},
                      {"Host", "10.0.0.1"},
                      {"Message", message}};
}

} // namespace

// The transport: signals on a private session bus, sent from a second connection as another
// process would.
class NotificationObserverTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void deliversTheUserInformationWithEveryKindOfValue();
    void dropsSignalsOfAnotherForm();
    void aKeySentTwiceKeepsItsLastValue();

private:
    std::vector<Dictionary> m_received;
    std::unique_ptr<NotificationObserver> m_observer;
    QDBusConnection m_sender{QString()};

    void send(const QDBusMessage& message) { QVERIFY(m_sender.send(message)); }
    // Everything sent before it has been handled once the marker arrives.
    void sendMarkerAndWait() {
        QDBusMessage marker = notification();
        marker << set(QStringLiteral("marker"));
        send(marker);
        QTRY_VERIFY(!m_received.empty() && m_received.back().string("Message") == "marker");
        m_received.pop_back();
    }
};

void NotificationObserverTest::initTestCase() {
    qDBusRegisterMetaType<StringMap>();
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    m_sender = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "server");
    QVERIFY(m_sender.isConnected());
}

void NotificationObserverTest::init() {
    m_received.clear();
    m_observer = std::make_unique<NotificationObserver>(
        [this](const Dictionary& userInformation) { m_received.push_back(userInformation); });
    QVERIFY(m_observer->observe(QDBusConnection::sessionBus()));
    // Our own subscription is in place once a call after it has come back.
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
}

void NotificationObserverTest::deliversTheUserInformationWithEveryKindOfValue() {
    QVariantMap information = set(QStringLiteral("héllo, wörld"));
    information["Count"] = 7;
    information["Big"] = QVariant::fromValue(Q_UINT64_C(18446744073709551615));
    information["Ratio"] = 0.5;
    information["Flag"] = true;
    information["Tags"] = QStringList{"a", "b"};
    information["Bytes"] = QByteArray("\x01\x02", 2);
    information["Path"] = QVariant::fromValue(QDBusObjectPath("/x/y"));
    information["Nested"] = QVariantMap{{"Inner", 1}};
    QDBusArgument pair;
    pair.beginStructure();
    pair << 1 << QStringLiteral("one");
    pair.endStructure();
    information["Pair"] = QVariant::fromValue(pair);
    QDBusMessage message = notification();
    message << information;
    send(message);

    QTRY_COMPARE(m_received.size(), 1u);
    Dictionary expected = setRecord("héllo, wörld");
    expected.set("Count", 7);
    expected.set("Big", 18446744073709551615.0);
    expected.set("Ratio", 0.5);
    expected.set("Flag", true);
    expected.set("Tags", Array{Value("a"), Value("b")});
    expected.set("Bytes", Data{{1, 2}});
    expected.set("Path", "/x/y");
    expected.set("Nested", Dictionary{{"Inner", 1}});
    expected.set("Pair", Array{Value(1), Value("one")});
    QVERIFY(m_received[0] == expected);
}

void NotificationObserverTest::dropsSignalsOfAnotherForm() {
    QDBusMessage strings = notification();
    strings << QVariant::fromValue(StringMap{{"Type", "Set"}, {"Message", "a{ss}"}});
    QDBusMessage integers = notification();
    integers << 1 << 2;
    QDBusMessage twoArguments = notification();
    twoArguments << set("two") << QStringLiteral("more");
    QDBusMessage otherPath = notification("/com/kestrix/Other");
    otherPath << set("path");
    QDBusMessage otherMember =
        notification(NotificationObserver::kPath, NotificationObserver::kInterface, "Other");
    otherMember << set("member");
    for (const QDBusMessage& message :
         {strings, integers, twoArguments, otherPath, otherMember, notification()}) {
        send(message);
    }
    sendMarkerAndWait();
    QVERIFY(m_received.empty());
}

void NotificationObserverTest::aKeySentTwiceKeepsItsLastValue() {
    QDBusArgument map;
    map.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QDBusVariant>());
    for (const char* message : {"first", "last"}) {
        map.beginMapEntry();
        map << QStringLiteral("Message") << QDBusVariant(QString::fromLatin1(message));
        map.endMapEntry();
    }
    map.endMap();
    QDBusMessage message = notification();
    message << QVariant::fromValue(map);
    send(message);
    sendMarkerAndWait();
    QCOMPARE(m_received.size(), 1u);
    QVERIFY(m_received[0] == (Dictionary{{"Message", "last"}}));
}

QTEST_GUILESS_MAIN(NotificationObserverTest)
#include "NotificationObserverTest.moc"
