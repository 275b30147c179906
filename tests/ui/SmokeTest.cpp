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
// ends cleanly and writes nothing into the data directory.
class SmokeTest : public QObject {
    Q_OBJECT

private slots:
    void startsAndQuitsCleanly_data();
    void startsAndQuitsCleanly();
};

void SmokeTest::startsAndQuitsCleanly_data() {
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<bool>("missingDirectory");

    QTest::newRow("empty data directory") << QByteArray() << QByteArray() << false;
    QTest::newRow("missing data directory") << QByteArray() << QByteArray() << true;
    QTest::newRow("events and a settings file that does not decode")
        << QByteArray("1700000000,Local7.Debug,10.0.0.1,hello\n\xff\xfe,,,\n")
        << QByteArray("bplist00 junk") << false;
}

void SmokeTest::startsAndQuitsCleanly() {
    QFETCH(QByteArray, log);
    QFETCH(QByteArray, settings);
    QFETCH(bool, missingDirectory);
    QTemporaryDir data;
    QVERIFY(data.isValid());
    if (!log.isEmpty()) {
        writeText(data.filePath("events.log"), log);
    }
    if (!settings.isEmpty()) {
        writeText(data.filePath("Velmora.ini"), settings);
    }
    const QString directory = missingDirectory ? data.filePath("absent") : data.path();
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

QTEST_GUILESS_MAIN(SmokeTest)
#include "SmokeTest.moc"
