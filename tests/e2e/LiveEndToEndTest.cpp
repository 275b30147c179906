#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QStringList>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

namespace {

void writeText(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QStringList readLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    lines.removeAll(QString());
    return lines;
}

// One table row as the console's dump writes it.
QString row(const char* date, const char* priority, const char* host, const char* message,
            const char* image) {
    return QStringList{date, priority, host, message, image}.join(QLatin1Char('\t'));
}

// Posts a notification as another process does, with the tool administrators have at hand.
bool emitSignal(const QString& userInformation) {
    QProcess gdbus;
    gdbus.start(QStringLiteral("gdbus"),
                {"emit", "--session", "--object-path", "/com/kestrix/Velmora", "--signal",
                 "com.kestrix.Velmora.Velmora", userInformation});
    return gdbus.waitForFinished(10'000) && gdbus.exitCode() == 0;
}

} // namespace

// The real console on a throw-away data directory and a private session bus: notifications
// posted by other processes, and the real server's, reach its table.
class LiveEndToEndTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void notificationsFromTheBusReachTheTable();
    void theServerFeedsTheConsole();

private:
    std::unique_ptr<QTemporaryDir> m_data;
    QString m_dump;
    QProcess m_console;

    QStringList rows() const { return readLines(m_dump); }
};

void LiveEndToEndTest::init() {
    m_data = std::make_unique<QTemporaryDir>();
    QVERIFY(m_data->isValid());
    QVERIFY(QDir().mkdir(m_data->filePath("data")));
    writeText(m_data->filePath("data/events.log"), "1700000000,Kern.Error,db1,disk failing\n"
                                                   "1700000060,Local7.Debug,10.0.0.1,hello\n");
    m_dump = m_data->filePath("rows.tsv");
    m_console.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_console.start(QStringLiteral(VELMORA_EXECUTABLE),
                    {"-platform", "offscreen", "--data-dir", m_data->filePath("data"),
                     "--start-on-scan", "--debug-dump", m_dump});
    QVERIFY(m_console.waitForStarted());
    // The first dump is written once the console listens.
    QTRY_COMPARE_WITH_TIMEOUT(rows().size(), 2, 20'000);
}

void LiveEndToEndTest::cleanup() {
    m_console.kill();
    m_console.waitForFinished();
    m_data.reset();
}

void LiveEndToEndTest::notificationsFromTheBusReachTheTable() {
    QCOMPARE(rows(),
             (QStringList{
                 row("2023-11-14 22:14:20", "Local7.Debug", "10.0.0.1", "hello", "Normal"),
                 row("2023-11-14 22:13:20", "Kern.Error", "db1", "disk failing", "Moderate"),
             }));

    QVERIFY(emitSignal("{'Type': <'Set'>, 'Date': <'1700000120'>, 'Priority': <'Auth.Critical'>, "
                       "'Host': <'gate'>, 'Message': <'intrusion, twice'>, 'Seq': <int32 7>}"));
    // Of other forms: no Type, another Type, not a{sv}, no dictionary at all.
    QVERIFY(emitSignal("{'Date': <'1'>, 'Priority': <'A.B'>, 'Host': <'h'>, 'Message': <'m'>}"));
    QVERIFY(emitSignal("{'Type': <'Bogus'>, 'Date': <'1'>}"));
    QVERIFY(emitSignal("{'Type': 'Set', 'Date': '1'}"));
    QVERIFY(emitSignal("(1, 2)"));
    QVERIFY(emitSignal("{'Type': <'Remove'>, 'Date': <'1700000000'>, 'Priority': <'Kern.Error'>, "
                       "'Host': <'db1'>, 'Message': <'disk failing'>}"));

    QTRY_COMPARE_WITH_TIMEOUT(
        rows(),
        (QStringList{
            row("2023-11-14 22:15:20", "Auth.Critical", "gate", "intrusion, twice", "Severe"),
            row("2023-11-14 22:14:20", "Local7.Debug", "10.0.0.1", "hello", "Normal"),
        }),
        10'000);
    QCOMPARE(m_console.state(), QProcess::Running);
}

// The Set signals the test sees on the bus, as "DATE,PRIORITY,HOST,MESSAGE".
class SignalRecorder : public QObject {
    Q_OBJECT

public:
    QStringList lines;

public slots:
    void record(const QDBusMessage& message) {
        const QVariantMap fields = qdbus_cast<QVariantMap>(message.arguments().value(0));
        if (fields.value("Type").toString() == "Set") {
            lines << QStringList{fields.value("Date").toString(),
                                 fields.value("Priority").toString(),
                                 fields.value("Host").toString(),
                                 fields.value("Message").toString()}
                         .join(QLatin1Char(','));
        }
    }
};

// A TCP and UDP port on loopback that was free a moment ago.
quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

void LiveEndToEndTest::theServerFeedsTheConsole() {
    SignalRecorder signals_;
    QVERIFY(QDBusConnection::sessionBus().connect(QString(), "/com/kestrix/Velmora",
                                                  "com.kestrix.Velmora", "Velmora", &signals_,
                                                  SLOT(record(QDBusMessage))));
    const QString port = QString::number(freePort());
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedChannels);
    server.start(QStringLiteral(VELMORA_SERVER_EXECUTABLE),
                 {"--data-dir", m_data->filePath("data"), "--config", "/dev/null", "--session",
                  "--listen", "udp://127.0.0.1:" + port, "--listen", "tcp://127.0.0.1:" + port});
    QVERIFY(server.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_data->filePath("data/Velmora.set")), 10'000);
    // RFC 5424 and RFC 3164, over UDP and TCP, as an administrator sends them.
    const QStringList forms[] = {
        {"--udp"}, {"--udp", "--rfc3164"}, {"--tcp", "--octet-count"}, {"--tcp", "--rfc3164"}};
    int sent = 0;
    for (const QStringList& form : forms) {
        QProcess logger;
        logger.start("logger",
                     form + QStringList{"-n", "127.0.0.1", "-P", port, "-p", "local7.debug", "-t",
                                        "e2e", "hello, form " + QString::number(++sent)});
        QVERIFY(logger.waitForFinished(10'000));
        QCOMPARE(logger.exitCode(), 0);
    }

    // The lines, the signals and the console's table hold the same events.
    const QString today = QDate::currentDate().toString(Qt::ISODate) + ".log";
    QTRY_COMPARE_WITH_TIMEOUT(readLines(m_data->filePath("data/" + today)).size(), sent, 10'000);
    const QStringList logged = readLines(m_data->filePath("data/" + today));
    QTRY_COMPARE_WITH_TIMEOUT(signals_.lines.size(), sent, 10'000);
    QCOMPARE(QSet<QString>(signals_.lines.begin(), signals_.lines.end()),
             QSet<QString>(logged.begin(), logged.end()));
    QTRY_COMPARE_WITH_TIMEOUT(rows().size(), 2 + sent, 10'000);
    const QStringList shown = rows();
    for (int i = 0; i < sent; ++i) {
        const QStringList fields = logged[sent - 1 - i].split(QLatin1Char(','));
        const QStringList cells = shown[i].split(QLatin1Char('\t'));
        QCOMPARE(cells.mid(1, 3),
                 (QStringList{"Local7.Debug", "127.0.0.1", fields.mid(3).join(QLatin1Char(','))}));
        QVERIFY2(cells[3].startsWith("e2e") && cells[3].contains("hello, form"),
                 qPrintable(cells[3]));
    }
    server.terminate();
    QVERIFY(server.waitForFinished(10'000));
    QCOMPARE(server.exitCode(), 0);
}

QTEST_GUILESS_MAIN(LiveEndToEndTest)
#include "LiveEndToEndTest.moc"
