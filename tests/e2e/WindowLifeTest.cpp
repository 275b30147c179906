// The real console under Xvfb on a private session bus: what closing its window does on a desktop
// with a status area (a panel's StatusNotifierWatcher, stood in for here) and on one without.

#include <memory>
#include <optional>
#include <xcb/xcb.h>

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList readLines(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
               : QStringList();
}

// The top-level windows of the X display, as a window manager sees them.
class Display {
public:
    Display()
        : m_x(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_x)).data->root) {}
    ~Display() { xcb_disconnect(m_x); }

    // The console's main window: the one titled "Velmora" that has a window class.
    std::optional<xcb_window_t> mainWindow() {
        std::unique_ptr<xcb_query_tree_reply_t, decltype(&free)> tree(
            xcb_query_tree_reply(m_x, xcb_query_tree(m_x, m_root), nullptr), &free);
        const xcb_window_t* windows = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            if (property(windows[i], XCB_ATOM_WM_NAME) == "Velmora" &&
                !property(windows[i], XCB_ATOM_WM_CLASS).isEmpty()) {
                return windows[i];
            }
        }
        return std::nullopt;
    }
    bool shown() {
        const std::optional<xcb_window_t> window = mainWindow();
        std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&free)> attributes(
            window ? xcb_get_window_attributes_reply(m_x, xcb_get_window_attributes(m_x, *window),
                                                     nullptr)
                   : nullptr,
            &free);
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    // What a window manager's close button does.
    void closeMainWindow() {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = mainWindow().value_or(XCB_WINDOW_NONE);
        event.type = atom("WM_PROTOCOLS");
        event.data.data32[0] = atom("WM_DELETE_WINDOW");
        xcb_send_event(m_x, false, event.window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(m_x);
    }

private:
    xcb_connection_t* m_x;
    xcb_window_t m_root;

    xcb_atom_t atom(const QByteArray& name) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> reply(
            xcb_intern_atom_reply(
                m_x, xcb_intern_atom(m_x, 0, static_cast<uint16_t>(name.size()), name.data()),
                nullptr),
            &free);
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    QByteArray property(xcb_window_t window, xcb_atom_t name) {
        std::unique_ptr<xcb_get_property_reply_t, decltype(&free)> reply(
            xcb_get_property_reply(
                m_x, xcb_get_property(m_x, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
                nullptr),
            &free);
        return reply ? QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                  xcb_get_property_value_length(reply.get()))
                     : QByteArray();
    }
};

} // namespace

// A panel's StatusNotifierWatcher: status icons register with it.
class Watcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)

public:
    QStringList items;
    bool hostRegistered() const { return true; }

public slots:
    void RegisterStatusNotifierItem(const QString& service) { items << service; }
};

class WindowLifeTest : public QObject {
    Q_OBJECT

private slots:
    void withAStatusAreaClosingHidesAndAStartBringsTheWindowBack();
    void withoutAStatusAreaClosingQuits();

private:
    QTemporaryDir m_temporary;
    Display m_display;

    void start(QProcess& console, const QString& data, const QStringList& options = {});
};

void WindowLifeTest::start(QProcess& console, const QString& data, const QStringList& options) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("QT_QPA_PLATFORM");
    console.setProcessEnvironment(environment);
    console.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    console.start(VELMORA_EXECUTABLE,
                  QStringList{"-platform", "xcb", "--data-dir", data, "--start-on-scan"} + options);
    QVERIFY(console.waitForStarted());
}

void WindowLifeTest::withAStatusAreaClosingHidesAndAStartBringsTheWindowBack() {
    Watcher watcher;
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(
        bus.registerObject("/StatusNotifierWatcher", &watcher, QDBusConnection::ExportAllContents));
    QVERIFY(bus.registerService("org.kde.StatusNotifierWatcher"));
    const QString data = m_temporary.filePath("data");
    QVERIFY(QDir().mkpath(data));
    const QString dump = m_temporary.filePath("rows.tsv");
    QProcess console;
    start(console, data, {"--debug-dump", dump});
    QTRY_COMPARE_WITH_TIMEOUT(watcher.items.size(), 1, 20'000);
    QTRY_VERIFY(m_display.shown());

    // Closed, the window goes; the console stays and follows the server.
    m_display.closeMainWindow();
    QTRY_VERIFY(!m_display.shown());
    QCOMPARE(
        QProcess::execute("gdbus", {"emit", "--session", "--object-path", "/com/kestrix/Velmora",
                                    "--signal", "com.kestrix.Velmora.Velmora",
                                    "{'Type': <'Set'>, 'Date': <'1700000000'>, 'Priority': "
                                    "<'Kern.Error'>, 'Host': <'db1'>, 'Message': <'late'>}"}),
        0);
    QTRY_COMPARE(readLines(dump).size(), 1);

    // Started again, it brings the first console's window back, the event in it, and ends.
    QProcess again;
    start(again, data);
    QTRY_COMPARE(again.state(), QProcess::NotRunning);
    QCOMPARE(again.exitCode(), 0);
    QTRY_VERIFY(m_display.shown());
    QTRY_COMPARE(readLines(dump),
                 QStringList{"2023-11-14 22:13:20\tKern.Error\tdb1\tlate\tModerate"});
    QCOMPARE(console.state(), QProcess::Running);
    console.kill();
    console.waitForFinished();
    bus.unregisterService("org.kde.StatusNotifierWatcher");
}

void WindowLifeTest::withoutAStatusAreaClosingQuits() {
    const QString missing = m_temporary.filePath("not yet made"); // before the server's first run
    QProcess console;
    start(console, missing);
    QTRY_VERIFY_WITH_TIMEOUT(m_display.shown(), 20'000);
    m_display.closeMainWindow();
    QTRY_COMPARE(console.state(), QProcess::NotRunning);
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
    QCOMPARE(console.exitCode(), 0);
    QVERIFY(!QDir(missing).exists());
}

QTEST_GUILESS_MAIN(WindowLifeTest)
#include "WindowLifeTest.moc"
