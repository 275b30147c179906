#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

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
// posted by other processes reach its table.
class LiveEndToEndTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void notificationsFromTheBusReachTheTable();
    void theServerStandInFeedsTheConsole();

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

void LiveEndToEndTest::theServerStandInFeedsTheConsole() {
    QProcess sim;
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    sim.start(QStringLiteral(VELMORA_SIM_EXECUTABLE),
              {"--data-dir", m_data->filePath("data"), "--rate", "10", "--count", "5", "--udp-port",
               "0"});
    QVERIFY(sim.waitForStarted());
    // It says where it receives datagrams, then runs until five events are out.
    QVERIFY(sim.waitForReadyRead(10'000));
    const QString announced = QString::fromUtf8(sim.readLine());
    QVERIFY2(announced.contains("UDP port"), qPrintable(announced));
    const quint16 port = announced.section(QLatin1Char(' '), -1).trimmed().toUShort();
    QUdpSocket datagram;
    datagram.writeDatagram("<191>a datagram, from e2e", QHostAddress::LocalHost, port);
    QVERIFY(sim.waitForFinished(20'000));
    QCOMPARE(sim.exitCode(), 0);

    // The console shows every line the stand-in logged, newest on top.
    const QStringList logged = readLines(m_data->filePath("data/velmora-sim.log"));
    QCOMPARE(logged.size(), 6);
    QTRY_COMPARE_WITH_TIMEOUT(rows().size(), 2 + 6, 10'000);
    const QStringList shown = rows();
    for (int i = 0; i < logged.size(); ++i) {
        const QStringList fields = logged[logged.size() - 1 - i].split(QLatin1Char(','));
        const QStringList cells = shown[i].split(QLatin1Char('\t'));
        QCOMPARE(cells[1], fields[1]);
        QCOMPARE(cells[2], fields[2]);
        QCOMPARE(cells[3], fields.mid(3).join(QLatin1Char(',')));
    }
    QVERIFY(logged.filter("Local7.Debug,127.0.0.1,a datagram, from e2e").size() == 1);
}

QTEST_GUILESS_MAIN(LiveEndToEndTest)
#include "LiveEndToEndTest.moc"
