#include "popup/PopupThread.h"

#include <memory>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include "core/eventlog/EventStore.h"
#include "core/settings/RuntimeSettings.h"
#include "popup/PopupSound.h"
#include "popup/PopupView.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::record;

namespace {

PopupView* popupOf(const QSignalSpy& shown, int index) {
    return qobject_cast<PopupView*>(shown.at(index).at(0).value<QObject*>());
}

// Half a second of a quiet tone, 16-bit mono at 22,050 Hz.
constexpr quint32 kRate = 22050;
constexpr quint32 kFrames = kRate / 2;

QByteArray samples(QSysInfo::Endian order) {
    QByteArray data(static_cast<qsizetype>(kFrames * 2), '\0');
    for (quint32 i = 0; i < kFrames; ++i) {
        const auto value = static_cast<qint16>((i % 50) * 100);
        order == QSysInfo::BigEndian ? qToBigEndian(value, data.data() + 2 * i)
                                     : qToLittleEndian(value, data.data() + 2 * i);
    }
    return data;
}

template <typename T>
void append(QByteArray& out, T value, QSysInfo::Endian order) {
    char bytes[sizeof(T)];
    order == QSysInfo::BigEndian ? qToBigEndian(value, bytes) : qToLittleEndian(value, bytes);
    out.append(bytes, sizeof(T));
}

QByteArray wave() {
    constexpr auto le = QSysInfo::LittleEndian;
    const QByteArray pcm = samples(le);
    QByteArray out("RIFF");
    append<quint32>(out, 36 + static_cast<quint32>(pcm.size()), le);
    out.append("WAVEfmt ");
    append<quint32>(out, 16, le);
    append<quint16>(out, 1, le); // PCM
    append<quint16>(out, 1, le); // mono
    append<quint32>(out, kRate, le);
    append<quint32>(out, kRate * 2, le);
    append<quint16>(out, 2, le);
    append<quint16>(out, 16, le);
    out.append("data");
    append<quint32>(out, static_cast<quint32>(pcm.size()), le);
    return out + pcm;
}

QByteArray aiff() {
    constexpr auto be = QSysInfo::BigEndian;
    const QByteArray pcm = samples(be);
    QByteArray out("FORM");
    append<quint32>(out, 4 + 26 + 16 + static_cast<quint32>(pcm.size()), be);
    out.append("AIFFCOMM");
    append<quint32>(out, 18, be);
    append<quint16>(out, 1, be);
    append<quint32>(out, kFrames, be);
    append<quint16>(out, 16, be);
    // 22,050 as an 80-bit extended number: exponent 16383 + 14, mantissa 22,050 << 49.
    append<quint16>(out, 0x400D, be);
    append<quint64>(out, quint64{22050} << 49, be);
    out.append("SSND");
    append<quint32>(out, 8 + static_cast<quint32>(pcm.size()), be);
    append<quint32>(out, 0, be);
    append<quint32>(out, 0, be);
    return out + pcm;
}

} // namespace

class PopupThreadTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void realPopupsFollowOneAnotherAndQuitReleasesTheLast();
    void soundOnlyPlaysWithoutAPopup();
    void playsTheSoundFormats_data();
    void playsTheSoundFormats();

private:
    QTemporaryDir m_files;
    std::unique_ptr<EventStore> m_store;
    std::unique_ptr<RuntimeSettings> m_runtime;
    std::unique_ptr<PopupThread> m_thread;

    void startWith(std::int64_t popupEvents, QStringList display, QString sound = {}) {
        m_runtime->iPopupEvents = popupEvents;
        for (const QString& name : display) {
            m_runtime->popupDisplayArray.push_back(name.toStdString());
            m_runtime->popupPlayArray.push_back(name.toStdString());
        }
        m_runtime->popupSound = sound.toStdString();
        m_thread = std::make_unique<PopupThread>(*m_store, *m_runtime);
        m_thread->start();
    }
    EventId newEvent(std::string_view priority) {
        return m_store->insert(record("1700000000", priority));
    }
    QString writeFile(const QString& name, const QByteArray& bytes) {
        QFile file(m_files.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
        return file.fileName();
    }
};

void PopupThreadTest::initTestCase() {
    qRegisterMetaType<PopupView*>();
    QVERIFY(m_files.isValid());
    qputenv("XDG_CONFIG_HOME", m_files.path().toLocal8Bit());
}

void PopupThreadTest::init() {
    m_store = std::make_unique<EventStore>();
    m_runtime = std::make_unique<RuntimeSettings>();
}

void PopupThreadTest::cleanup() {
    m_thread.reset();
    m_runtime.reset();
    m_store.reset();
}

void PopupThreadTest::realPopupsFollowOneAnotherAndQuitReleasesTheLast() {
    startWith(1, {"Debug"});
    QSignalSpy shown(m_thread.get(), &PopupThread::popupShown);
    const EventId first = newEvent("Local7.Debug");
    const EventId second = newEvent("Local7.Debug");
    m_thread->append(first, "Local7.Debug");
    m_thread->append(second, "Local7.Debug");

    QVERIFY(shown.wait(5000));
    PopupView* popup = popupOf(shown, 0);
    QVERIFY(popup != nullptr);
    QCOMPARE(popup->event(), first);
    QCOMPARE(popup->popupTime(), 1);
    QVERIFY(popup->isVisible());
    QSignalSpy firstGone(popup, &PopupView::gone);
    QCOMPARE(m_thread->queued(), 1u);

    // One second in, one open, one out; then the queue goes on to the second event.
    QVERIFY(firstGone.wait(10'000));
    QCOMPARE(shown.count(), 1);
    QVERIFY(shown.wait(5000));
    QCOMPARE(firstGone.count(), 1);
    PopupView* next = popupOf(shown, 1);
    QVERIFY(next != nullptr);
    QCOMPARE(next->event(), second);

    // Quitting with a popup on screen releases it once and ends the queue thread.
    QSignalSpy secondGone(next, &PopupView::gone);
    m_thread.reset();
    QCOMPARE(secondGone.count(), 1);
}

void PopupThreadTest::soundOnlyPlaysWithoutAPopup() {
    const QString sound = writeFile("alert.wav", wave());
    startWith(0, {"Debug"}, sound);
    QSignalSpy started(&m_thread->sound(), &PopupSound::started);
    QSignalSpy shown(m_thread.get(), &PopupThread::popupShown);
    m_thread->append(newEvent("Local7.Debug"), "Local7.Debug");

    QVERIFY(started.wait(10'000));
    QCOMPARE(started.at(0).at(0).toString(), sound);
    QCOMPARE(shown.count(), 0);
}

void PopupThreadTest::playsTheSoundFormats_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("plays");
    QTest::newRow("WAV") << "alert.wav" << wave() << true;
    QTest::newRow("AIFF") << "alert.aiff" << aiff() << true;
    QTest::newRow("not a sound") << "alert.oga" << QByteArray("OggS and nothing more") << false;
    QTest::newRow("empty file") << "empty.flac" << QByteArray() << false;
    QTest::newRow("missing file") << "missing.wav" << QByteArray() << false;
    QTest::newRow("a directory") << "." << QByteArray() << false;
}

void PopupThreadTest::playsTheSoundFormats() {
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(bool, plays);
    const QString path = content.isEmpty() && name != "empty.flac" ? m_files.filePath(name)
                                                                   : writeFile(name, content);
    PopupSound sound;
    QSignalSpy started(&sound, &PopupSound::started);
    QSignalSpy failed(&sound, &PopupSound::failed);
    sound.play(path);
    QTRY_COMPARE_WITH_TIMEOUT(started.count() + failed.count(), 1, 10'000);
    QCOMPARE(started.count(), plays ? 1 : 0);
    if (!plays) {
        // A sound that cannot be played leaves nothing behind.
        QTRY_COMPARE(sound.playing(), 0);
    }
}

QTEST_MAIN(PopupThreadTest)
#include "PopupThreadTest.moc"
