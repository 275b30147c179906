#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

void writeText(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

// Starts the real program offscreen, lets it build its window and leave, and checks that it
// ends cleanly and writes nothing into the data directory, nor creates one that is missing.
class SmokeTest : public QObject {
    Q_OBJECT

private slots:
    void startsAndQuitsCleanly_data();
    void startsAndQuitsCleanly();
    void commandLineAnswersWithoutADisplay_data();
    void commandLineAnswersWithoutADisplay();
};

void SmokeTest::startsAndQuitsCleanly_data() {
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<bool>("missing");

    QTest::newRow("empty data directory") << QByteArray() << QByteArray() << false;
    QTest::newRow("events and a settings file that does not decode")
        << QByteArray("1700000000,Local7.Debug,10.0.0.1,hello\n\xff\xfe,,,\n")
        << QByteArray("bplist00 junk") << false;
    QTest::newRow("no data directory yet") << QByteArray() << QByteArray() << true;
}

void SmokeTest::startsAndQuitsCleanly() {
    QFETCH(QByteArray, log);
    QFETCH(QByteArray, settings);
    QFETCH(bool, missing);
    QTemporaryDir data;
    QVERIFY(data.isValid());
    const QString directory = missing ? data.filePath("velmora") : data.path();
    if (!log.isEmpty()) {
        writeText(data.filePath("events.log"), log);
    }
    if (!settings.isEmpty()) {
        writeText(data.filePath("Velmora.ini"), settings);
    }
    const QStringList before = QDir(data.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);

    QProcess velmora;
    velmora.setProgram(QStringLiteral(VELMORA_EXECUTABLE));
    velmora.setArguments({"-platform", "offscreen", "--data-dir", directory, "--quit-after-start"});
    velmora.start();
    QVERIFY(velmora.waitForFinished(60'000));
    QCOMPARE(velmora.exitStatus(), QProcess::NormalExit);
    QVERIFY2(velmora.exitCode() == 0, velmora.readAllStandardError().constData());

    QCOMPARE(QDir(data.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);
    QCOMPARE(readText(data.filePath("Velmora.ini")), settings);
}

// Help, version and command-line errors are answered before any window exists, so they work
// on a machine without a display; errors go to standard error with a non-zero status.
void SmokeTest::commandLineAnswersWithoutADisplay_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<QByteArray>("err");

    QTest::newRow("help") << QStringList{"--help"} << 0 << QByteArray("--data-dir <DIR>")
                          << QByteArray();
    QTest::newRow("version") << QStringList{"--version"} << 0 << QByteArray("velmora 0.")
                             << QByteArray();
    QTest::newRow("unknown option")
        << QStringList{"--colour"} << 2 << QByteArray() << QByteArray("Unknown option 'colour'");
    QTest::newRow("stray argument")
        << QStringList{"somewhere"} << 2 << QByteArray() << QByteArray("unexpected argument");
    QTest::newRow("data directory that is a file")
        << QStringList{"--data-dir", "/etc/hostname"} << 1 << QByteArray()
        << QByteArray("is not a directory");
}

void SmokeTest::commandLineAnswersWithoutADisplay() {
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, out);
    QFETCH(QByteArray, err);

    QProcess velmora;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        environment.remove(QString::fromLatin1(name));
    }
    velmora.setProcessEnvironment(environment);
    velmora.start(QStringLiteral(VELMORA_EXECUTABLE), arguments);
    QVERIFY(velmora.waitForFinished(30'000));
    QCOMPARE(velmora.exitCode(), status);
    const QByteArray standardOutput = velmora.readAllStandardOutput();
    const QByteArray standardError = velmora.readAllStandardError();
    QVERIFY2(out.isEmpty() ? standardOutput.isEmpty() : standardOutput.contains(out),
             standardOutput.constData());
    QVERIFY2(err.isEmpty() ? standardError.isEmpty() : standardError.contains(err),
             standardError.constData());
}

QTEST_GUILESS_MAIN(SmokeTest)
#include "SmokeTest.moc"
