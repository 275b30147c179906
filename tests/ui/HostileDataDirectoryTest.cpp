#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QFile>
#include <QProcess>
#include <QTest>

#include "actions/ToolsViewActions.h"
#include "app/AppDelegate.h"
#include "app/Page.h"
#include "app/WindowController.h"
#include "core/archive/KeyedArchive.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "support/TempDir.h"
#include "tools/ToolsViewExport.h"
#include "tools/ToolsViewOptions.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::TempDir;
using test::writeFile;

namespace {

// Bytes of every kind but the field separators (comma, CR, LF), so that no piece of them can
// pass for an event: the file is binary junk that the console must read past.
std::string junk(std::size_t size, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        do {
            byte = static_cast<char>(random() & 0xFF);
        } while (byte == ',' || byte == '\r' || byte == '\n');
    }
    return bytes;
}

// What a file is, to tell whether anything touched it: its bytes and its modification time.
struct Fingerprint {
    QByteArray digest;
    std::int64_t modified = 0;
    bool operator==(const Fingerprint&) const = default;
};

// Only regular files are read: opening the FIFO would wait for a writer.
Fingerprint fingerprint(const std::filesystem::path& path) {
    Fingerprint print;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        return print;
    }
    print.modified = st.st_mtim.tv_sec * 1'000'000'000LL + st.st_mtim.tv_nsec;
    QFile file(QString::fromStdString(path.string()));
    if (S_ISREG(st.st_mode) && file.open(QIODevice::ReadOnly)) {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        hash.addData(&file);
        print.digest = hash.result();
    }
    return print;
}

} // namespace

// A data directory full of what a damaged or hostile disk may hold: binary files and a line of
// 100 MB named like log files, a directory, a FIFO, a dangling link and unreadable files named
// like log files, a settings file of random bytes and a pipe file that is a directory. The
// console starts on it, shows the events it can read, and saves settings, without a crash and
// without touching any of the log files.
class HostileDataDirectoryTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void consoleShowsWhatItCanAndSavesSettings();
    void realProgramStartsAndQuits();

private:
    std::unique_ptr<TempDir> m_dir;
    std::map<std::string, Fingerprint> m_logs;

    void fill();
    void expectLogsUntouched();
};

void HostileDataDirectoryTest::init() {
    m_dir = std::make_unique<TempDir>();
    fill();
}

void HostileDataDirectoryTest::fill() {
    const TempDir& dir = *m_dir;
    writeFile(dir / "good.log", "1700000000,Local7.Debug,10.0.0.1,first\n"
                                "1700000001,Auth.Error,10.0.0.2,second, with a comma\n"
                                "1700000002,User.Alert,10.0.0.3,third\n");
    writeFile(dir / "binary.log", junk(256 * 1024, 1));
    writeFile(dir / "long.log", std::string(100 * 1024 * 1024, 'x'));
    writeFile(dir / "upper.LOG", "1700000003,Kern.Emergency,10.0.0.4,not a log file\n");
    std::filesystem::create_directory(dir / "folder.log");
    QCOMPARE(::mkfifo((dir / "fifo.log").c_str(), 0644), 0);
    std::filesystem::create_symlink(dir / "nowhere", dir / "dangling.log");
    // Unreadable: a file nobody may read (root still may), and one whose every read fails
    // with an I/O error, whoever reads it.
    writeFile(dir / "secret.log", "1700000004,Mail.Notice,10.0.0.5,readable by root only\n");
    std::filesystem::permissions(dir / "secret.log", std::filesystem::perms::none);
    std::filesystem::create_symlink("/proc/self/mem", dir / "memory.log");
    writeFile(dir / "Velmora.ini", junk(4096, 2));
    std::filesystem::create_directory(dir / "Velmora.set");

    m_logs.clear();
    for (const char* name : {"good.log", "binary.log", "long.log", "upper.LOG", "fifo.log",
                             "dangling.log", "secret.log", "memory.log"}) {
        m_logs[name] = fingerprint(dir / name);
    }
}

void HostileDataDirectoryTest::expectLogsUntouched() {
    for (const auto& [name, print] : m_logs) {
        QVERIFY2(fingerprint(*m_dir / name) == print, name.c_str());
    }
    QVERIFY(std::filesystem::is_directory(*m_dir / "folder.log"));
    QVERIFY(std::filesystem::is_empty(*m_dir / "Velmora.set"));
}

void HostileDataDirectoryTest::consoleShowsWhatItCanAndSavesSettings() {
    const Fingerprint damagedSettings = fingerprint(*m_dir / "Velmora.ini");
    AppDelegate delegate(m_dir->str());
    WindowController window(delegate);
    delegate.setWindowController(&window);
    window.show();

    // Only the three lines of the one readable log file are events, and the unreadable one's
    // line when the tests run as root.
    const std::size_t readable = ::geteuid() == 0 ? 4 : 3;
    const EventTableModel& events = window.scanView().model();
    QCOMPARE(events.store().size(), readable);
    for (const Page page : {Page::Home, Page::Scan, Page::Reports, Page::Tools, Page::Options,
                            Page::Actions, Page::Export}) {
        window.showPage(page);
        test::runQueued();
    }
    QCOMPARE(events.rowCount(), static_cast<int>(readable));
    QStringList messages;
    for (int row = 0; row < events.rowCount(); ++row) {
        messages << test::cell(events, row, EventTableModel::MessageColumn).toString();
    }
    for (const char* message : {"first", "second, with a comma", "third"}) {
        QVERIFY2(messages.contains(QLatin1String(message)), message);
    }

    // Looking at pages never rewrites a settings file that does not decode.
    QVERIFY(fingerprint(*m_dir / "Velmora.ini") == damagedSettings);
    expectLogsUntouched();

    // An explicit save replaces it with a settings archive; the reload command finds no pipe
    // file to go into and is dropped.
    window.showPage(Page::Options);
    window.findChild<ToolsViewOptions*>()->onSave();
    const auto saved = delegate.settingsStore().loadDictionary();
    QVERIFY(saved.ok());
    QCOMPARE(saved->integer("severityEmergency"), std::int64_t{2});
    QCOMPARE(window.currentPage(), Page::Tools);

    window.showPage(Page::Actions);
    window.findChild<ToolsViewActions*>()->onSave();
    window.showPage(Page::Export);
    window.findChild<ToolsViewExport*>()->onSave();
    QVERIFY(delegate.settingsStore().loadDictionary().ok());
    expectLogsUntouched();
}

void HostileDataDirectoryTest::realProgramStartsAndQuits() {
    QProcess velmora;
    velmora.start(QStringLiteral(VELMORA_EXECUTABLE),
                  {"-platform", "offscreen", "--data-dir", QString::fromStdString(m_dir->str()),
                   "--quit-after-start"});
    QVERIFY(velmora.waitForFinished(60'000));
    QCOMPARE(velmora.exitStatus(), QProcess::NormalExit);
    QVERIFY2(velmora.exitCode() == 0, velmora.readAllStandardError().constData());
    expectLogsUntouched();
}

QTEST_MAIN(HostileDataDirectoryTest)
#include "HostileDataDirectoryTest.moc"
