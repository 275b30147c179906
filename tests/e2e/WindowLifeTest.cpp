// The real console under Xvfb on a private session bus: what closing its window does on a desktop
// with a status area (a panel's StatusNotifierWatcher, stood in for here) and on one without.

#include <memory>
#include <optional>
#include <xcb/xcb.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList readLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// The top-level windows of the X display, as a window manager sees them.
class Display {
public:
    Display()
        : m_connection(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root) {}
    ~Display() { xcb_disconnect(m_connection); }

    // The console's main window: the window of that process titled "Velmora".
    std::optional<xcb_window_t> mainWindow(qint64 pid) {
        xcb_query_tree_reply_t* tree =
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr);
        std::optional<xcb_window_t> found;
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; tree != nullptr && i < xcb_query_tree_children_length(tree); ++i) {
            if (property(children[i], "_NET_WM_PID") == QByteArray::number(pid) &&
                property(children[i], "WM_NAME") == "Velmora" &&
                !property(children[i], "WM_CLASS").isEmpty()) {
                found = children[i];
            }
        }
        free(tree);
        return found;
    }
    bool isShown(xcb_window_t window) {
        xcb_get_window_attributes_reply_t* attributes = xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, window), nullptr);
        const bool shown = attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        return shown;
    }
    // What the close button of a window manager does.
    void close(xcb_window_t window) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = atom("WM_PROTOCOLS");
        event.data.data32[0] = atom("WM_DELETE_WINDOW");
        event.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(m_connection, false, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(m_connection);
    }

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;

    xcb_atom_t atom(const QByteArray& name) {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            m_connection,
            xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.data()),
            nullptr);
        const xcb_atom_t value = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
        free(reply);
        return value;
    }
    // A text property as it stands, a cardinal one as its number.
    QByteArray property(xcb_window_t window, const QByteArray& name) {
        xcb_get_property_reply_t* reply = xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
            nullptr);
        QByteArray value;
        if (reply != nullptr && reply->type == XCB_ATOM_CARDINAL && reply->format == 32) {
            value = QByteArray::number(*static_cast<quint32*>(xcb_get_property_value(reply)));
        } else if (reply != nullptr) {
            value = QByteArray(static_cast<const char*>(xcb_get_property_value(reply)),
                               xcb_get_property_value_length(reply));
        }
        free(reply);
        return value;
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
    void init();
    void cleanup();

    void withAStatusAreaClosingHidesAndAStartBringsTheWindowBack();
    void withoutAStatusAreaClosingQuits();

private:
    std::unique_ptr<QTemporaryDir> m_temporary;
    Display m_display;
    QProcess m_console;

    QString data() const { return m_temporary->filePath("data"); }
    QString dump() const { return m_temporary->filePath("rows.tsv"); }
    void start(QProcess& console, const QStringList& options);
    bool shown();
    void clickStatusMenu(const QString& service, const QString& label);
};

void WindowLifeTest::init() {
    m_temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(m_temporary->isValid());
}

void WindowLifeTest::cleanup() {
    m_console.kill();
    m_console.waitForFinished();
    QDBusConnection::sessionBus().unregisterService("org.kde.StatusNotifierWatcher");
    QDBusConnection::sessionBus().unregisterObject("/StatusNotifierWatcher");
}

void WindowLifeTest::start(QProcess& console, const QStringList& options) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("QT_QPA_PLATFORM");
    console.setProcessEnvironment(environment);
    console.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    console.start(VELMORA_EXECUTABLE,
                  QStringList{"-platform", "xcb", "--data-dir", data(), "--start-on-scan"} +
                      options);
    QVERIFY(console.waitForStarted());
}

bool WindowLifeTest::shown() {
    const std::optional<xcb_window_t> window = m_display.mainWindow(m_console.processId());
    return window && m_display.isShown(*window);
}

// Clicks an entry of a status icon's menu as a panel does, through the menu's D-Bus interface.
void WindowLifeTest::clickStatusMenu(const QString& service, const QString& label) {
    QDBusMessage layout =
        QDBusMessage::createMethodCall(service, "/MenuBar", "com.canonical.dbusmenu", "GetLayout");
    layout << 0 << -1 << QStringList{"label"};
    const QDBusMessage reply = QDBusConnection::sessionBus().call(layout);
    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    // (ia{sv}av): the root's id, properties and entries, each entry the same in a variant.
    const auto root = reply.arguments().at(1).value<QDBusArgument>();
    int id = 0;
    QVariantMap properties;
    root.beginStructure();
    root >> id >> properties;
    root.beginArray();
    std::optional<int> clicked;
    while (!root.atEnd()) {
        QDBusVariant entry;
        root >> entry;
        const auto item = entry.variant().value<QDBusArgument>();
        item.beginStructure();
        item >> id >> properties;
        if (properties.value("label") == label) {
            clicked = id;
        }
    }
    QVERIFY2(clicked, qPrintable(label));
    QDBusMessage event =
        QDBusMessage::createMethodCall(service, "/MenuBar", "com.canonical.dbusmenu", "Event");
    event << *clicked << QString("clicked") << QVariant::fromValue(QDBusVariant(0)) << 0u;
    QCOMPARE(QDBusConnection::sessionBus().call(event).type(), QDBusMessage::ReplyMessage);
}

void WindowLifeTest::withAStatusAreaClosingHidesAndAStartBringsTheWindowBack() {
    Watcher watcher;
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(
        bus.registerObject("/StatusNotifierWatcher", &watcher,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
    QVERIFY(bus.registerService("org.kde.StatusNotifierWatcher"));
    QVERIFY(QDir().mkdir(data()));
    start(m_console, {"--debug-dump", dump()});
    QTRY_COMPARE_WITH_TIMEOUT(watcher.items.size(), 1, 20'000);
    QTRY_VERIFY(shown());

    // Closed, the window goes; the console stays and follows the server.
    m_display.close(*m_display.mainWindow(m_console.processId()));
    QTRY_VERIFY(!shown());
    QVERIFY(
        QProcess::execute("gdbus", {"emit", "--session", "--object-path", "/com/kestrix/Velmora",
                                    "--signal", "com.kestrix.Velmora.Velmora",
                                    "{'Type': <'Set'>, 'Date': <'1700000000'>, 'Priority': "
                                    "<'Kern.Error'>, 'Host': <'db1'>, 'Message': <'late'>}"}) == 0);
    QTRY_COMPARE(readLines(dump()).size(), 1);

    // Started again, it brings the first console's window back, the event in it, and ends.
    QProcess again;
    start(again, {});
    QTRY_COMPARE(again.state(), QProcess::NotRunning);
    QCOMPARE(again.exitCode(), 0);
    QTRY_VERIFY(shown());
    QTRY_COMPARE(readLines(dump()),
                 QStringList{"2023-11-14 22:13:20\tKern.Error\tdb1\tlate\tModerate"});

    // The status icon's menu: a page brings the window back, Quit ends the console.
    m_display.close(*m_display.mainWindow(m_console.processId()));
    QTRY_VERIFY(!shown());
    clickStatusMenu(watcher.items.front(), "Reports");
    QTRY_VERIFY(shown());
    clickStatusMenu(watcher.items.front(), "Quit Velmora");
    QTRY_COMPARE(m_console.state(), QProcess::NotRunning);
    QCOMPARE(m_console.exitCode(), 0);
}

void WindowLifeTest::withoutAStatusAreaClosingQuits() {
    // Before the server's first run: no data directory yet.
    start(m_console, {});
    QTRY_VERIFY_WITH_TIMEOUT(shown(), 20'000);
    m_display.close(*m_display.mainWindow(m_console.processId()));
    QTRY_COMPARE(m_console.state(), QProcess::NotRunning);
    QCOMPARE(m_console.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_console.exitCode(), 0);
    QVERIFY(!QDir(data()).exists());
}

QTEST_GUILESS_MAIN(WindowLifeTest)
#include "WindowLifeTest.moc"
