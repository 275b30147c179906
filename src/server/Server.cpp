#include "server/Server.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include "core/archive/FirstArchive.h"
#include "core/eventlog/LogLineReader.h"
#include "core/system/FileHandles.h"
#include "server/Journal.h"
#include "server/ListenSocket.h"
#include "server/LogFileWriter.h"

namespace velmora::server {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view kPipeName = "Velmora.set";
constexpr mode_t kPipeMode = 0660;
constexpr std::size_t kMaxPipeBytes = 1024 * 1024;
constexpr auto kSyncInterval = 1s;
constexpr auto kRetryInterval = 1s;
constexpr std::uint64_t kCountsEveryTicks = 60;

std::string countText(std::uint64_t n, std::string_view what) {
    return std::to_string(n) + " " + std::string(what);
}

} // namespace

Server::Server(ServerOptions options)
    : m_options(std::move(options))
    , m_store(m_options.dataDirectory)
    , m_queue(m_options.queueEvents) {}

Server::~Server() {
    stop();
}

Status Server::openReceivers() {
    m_stopEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::vector<int> udpSockets;
    std::vector<int> tcpSockets;
    for (const ListenAddress& address : m_options.listen) {
        Result<int> socket = openListenSocket(address);
        if (!socket) {
            for (const int fd : udpSockets) {
                ::close(fd);
            }
            for (const int fd : tcpSockets) {
                ::close(fd);
            }
            return socket.error();
        }
        (address.transport == ListenAddress::Transport::Udp ? udpSockets : tcpSockets)
            .push_back(*socket);
        journal::info("receiving on " + address.text());
    }
    const EventIntake intake(m_settings, *m_resolver, m_statistics);
    for (const int fd : udpSockets) {
        m_udp.push_back(
            std::make_unique<UdpReceiver>(fd, m_stopEvent, intake, m_queue, m_statistics));
    }
    if (!tcpSockets.empty()) {
        m_tcp = std::make_unique<TcpReceiver>(std::move(tcpSockets), m_stopEvent, intake, m_queue);
    }
    return {};
}

// The console writes the pipe but never creates it: without it no save would reach the server.
Status Server::createPipe() const {
    const std::string path = m_store.pipePath();
    const int fd =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, kPipeMode);
    if (fd < 0) {
        return Error{ErrorCode::Io,
                     "cannot create the pipe file " + path + ": " + std::strerror(errno)};
    }
    ::close(fd);
    return {};
}

void Server::reloadSettings(std::string_view why) {
    Result<Dictionary> loaded = m_store.loadDictionary();
    if (!loaded && loaded.error().code != ErrorCode::NotFound) {
        journal::warning(loaded.error().message + "; the previous settings stay in force");
        return;
    }
    ServerSettings settings = loaded ? ServerSettings::fromDictionary(*loaded) : ServerSettings{};
    for (const std::string& problem : settings.filters.problems()) {
        if (m_reportedProblems.insert(problem).second) {
            journal::warning(problem);
        }
    }
    const bool hostNames = settings.hostsDisplay;
    m_settings.set(std::move(settings));
    journal::info(std::string(loaded ? "settings read" : "no settings file: the defaults apply") +
                  " (" + std::string(why) + "); hosts shown by " +
                  (hostNames ? "name" : "address"));
}

void Server::readPipe() {
    std::vector<char> bytes;
    if (const Status read = readFileInto(m_store.pipePath(), bytes); !read) {
        journal::warning("cannot read the pipe file: " + read.error().message);
        return;
    }
    bytes.resize(std::min(bytes.size(), kMaxPipeBytes));
    const Result<Dictionary> command = keyed_archive::decodeFirstDictionary(
        std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    if (!command) {
        if (!bytes.empty()) {
            journal::warning("the pipe file holds no command: " + command.error().message);
        }
        return;
    }
    const std::string& name = command->string("Settings");
    if (name == "read") {
        reloadSettings("the console's reload command");
    } else if (name == "email") {
        journal::notice("the console asked for a test e-mail; this version of the server does "
                        "not send e-mail yet");
    } else {
        journal::warning("the pipe file holds an unknown command \"" + name + "\"");
    }
}

Status Server::start() {
    std::error_code error;
    if (!std::filesystem::is_directory(m_options.dataDirectory, error)) {
        return Error{ErrorCode::NotFound, "the data directory " + m_options.dataDirectory +
                                              " does not exist (the package creates "
                                              "/var/lib/velmora; give another with --data-dir)"};
    }
    if (Status created = createPipe(); !created) {
        return created;
    }
    // The resolver is made before the receivers, which keep a reference to it.
    m_resolver = std::make_unique<HostResolver>();
    reloadSettings("start");
    if (m_options.bus != Bus::None) {
        Result<std::unique_ptr<Notifier>> notifier =
            Notifier::open(m_options.bus, m_options.queueEvents, m_options.notifyLimit);
        if (!notifier) {
            return notifier.error();
        }
        m_notifier = std::move(notifier).value();
        m_sinks.push_back(m_notifier.get());
    }
    if (m_options.forward) {
        m_forwarder = std::make_unique<Forwarder>(*m_options.forward, m_options.forwardQueueEvents);
        m_sinks.push_back(m_forwarder.get());
    }
    m_writer = std::thread([this] { writerLoop(); });
    return openReceivers();
}

// The first `written` of the pending events are in the log files: they go to the sinks as one
// shared batch, and leave the pending ones.
void Server::handOver(std::vector<LogEvent>& pending, std::size_t written) {
    auto batch = std::make_shared<std::vector<LogEvent>>();
    if (written == pending.size()) {
        batch->swap(pending);
    } else {
        const auto end = pending.begin() + static_cast<std::ptrdiff_t>(written);
        batch->assign(std::make_move_iterator(pending.begin()), std::make_move_iterator(end));
        pending.erase(pending.begin(), end);
    }
    m_statistics.written.fetch_add(batch->size(), std::memory_order_relaxed);
    const EventBatch shared = std::move(batch);
    for (EventSink* sink : m_sinks) {
        sink->accept(shared);
    }
}

// Writes what waits; true while the log files cannot be written.
bool Server::writePending(LogFileWriter& writer, std::vector<LogEvent>& pending, bool failing) {
    const LogFileWriter::Outcome outcome = writer.append(pending);
    if (outcome.error && !failing) {
        journal::error(outcome.error->message +
                       "; events wait in memory, and the write is tried again every second");
    } else if (!outcome.error && failing) {
        journal::notice("the log files are written again");
    }
    if (outcome.written > 0) {
        handOver(pending, outcome.written);
    }
    return outcome.error.has_value();
}

void Server::writerLoop() {
    LogFileWriter writer(m_options.dataDirectory);
    std::vector<LogEvent> pending;
    bool failing = false;
    auto lastSync = std::chrono::steady_clock::now();
    for (;;) {
        m_statistics.writerTurns.fetch_add(1, std::memory_order_relaxed);
        if (pending.empty() && !m_queue.takeAll(pending, 200ms)) {
            break;
        }
        if (!pending.empty()) {
            failing = writePending(writer, pending, failing);
            if (failing && m_queue.closed()) {
                break; // stopping: the events still unwritten are reported below
            }
            if (failing) {
                std::this_thread::sleep_for(kRetryInterval);
            }
        }
        if (std::chrono::steady_clock::now() - lastSync >= kSyncInterval) {
            if (const Status synced = writer.sync(); !synced) {
                journal::error(synced.error().message);
            }
            lastSync = std::chrono::steady_clock::now();
        }
    }
    if (!pending.empty()) {
        journal::error(countText(pending.size(), "events could not be written at shutdown"));
    }
}

void Server::reportCounts(bool final) {
    const std::uint64_t dropped = m_statistics.droppedQueueFull.exchange(0);
    const std::uint64_t notifications = m_notifier ? m_notifier->takeDropped() : 0;
    const std::uint64_t forwarded = m_forwarder ? m_forwarder->takeDropped() : 0;
    if (dropped > 0) {
        journal::error(countText(dropped, "UDP events dropped: the queue to the log files was "
                                          "full"));
    }
    if (notifications > 0) {
        journal::warning(countText(notifications, "events logged without a notification: more "
                                                  "than the bus or the limit took"));
    }
    if (forwarded > 0) {
        journal::warning(countText(forwarded, "events not forwarded: the forwarding queue was "
                                              "full"));
    }
    if (final) {
        journal::info(countText(m_statistics.received.load(), "messages received, ") +
                      countText(m_statistics.written.load(), "events written, ") +
                      countText(m_statistics.filteredOut.load(), "left out by the filters"));
    }
}

void Server::tick() {
    ++m_ticks;
    if (m_watchdogTicks > 0 && m_ticks % m_watchdogTicks == 0) {
        // The writer turns at least five times a second unless a write hangs: then the
        // service manager is not told that all is well, and restarts the server.
        const std::uint64_t turns = m_statistics.writerTurns.load();
        if (turns != m_lastWriterTurns) {
            sd_notify(0, "WATCHDOG=1");
        }
        m_lastWriterTurns = turns;
    }
    if (m_ticks % kCountsEveryTicks == 0) {
        reportCounts(false);
    }
}

void Server::stop() {
    if (m_stopEvent >= 0) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t n = ::write(m_stopEvent, &one, sizeof one);
    }
    m_udp.clear();
    m_tcp.reset();
    m_queue.close();
    if (m_writer.joinable()) {
        m_writer.join();
    }
    if (m_notifier) {
        m_notifier->stop();
    }
    if (m_forwarder) {
        m_forwarder->stop();
    }
    if (m_stopEvent >= 0) {
        ::close(m_stopEvent);
        m_stopEvent = -1;
    }
}

// The pipe file's writes and removals among the data directory's changes.
void Server::onDirectoryChanges(int inotifyFd) {
    alignas(inotify_event) char buffer[4096];
    const ssize_t n = ::read(inotifyFd, buffer, sizeof buffer);
    bool written = false;
    bool removed = false;
    for (ssize_t at = 0; at < n;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        if (event->len > 0 && std::string_view(event->name) == kPipeName) {
            written = written || (event->mask & IN_CLOSE_WRITE) != 0;
            removed = removed || (event->mask & (IN_DELETE | IN_MOVED_FROM)) != 0;
        }
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    if (removed) {
        journal::warning("the pipe file was removed; it is created again");
        if (const Status created = createPipe(); !created) {
            journal::error(created.error().message);
        }
    }
    if (written) {
        readPipe();
    }
}

// False when the signal asks the server to stop.
bool Server::onSignal(int signalFd) {
    signalfd_siginfo info{};
    if (::read(signalFd, &info, sizeof info) != sizeof info) {
        return true;
    }
    if (info.ssi_signo == SIGHUP) {
        reloadSettings("SIGHUP");
        return true;
    }
    return false;
}

int Server::run() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    // Blocked before any thread starts, so that every thread inherits the mask and the
    // signals wait for the main loop.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    if (const Status started = start(); !started) {
        journal::error(started.error().message);
        stop();
        return 1;
    }
    const FileDescriptor signalFd(::signalfd(-1, &signals, SFD_CLOEXEC));
    const FileDescriptor inotifyFd(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ::inotify_add_watch(inotifyFd.get(), m_options.dataDirectory.c_str(),
                        IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM);
    const FileDescriptor timerFd(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
    const itimerspec everySecond{{1, 0}, {1, 0}};
    ::timerfd_settime(timerFd.get(), 0, &everySecond, nullptr);
    const FileDescriptor epoll(::epoll_create1(EPOLL_CLOEXEC));
    for (const int fd : {signalFd.get(), inotifyFd.get(), timerFd.get()}) {
        epoll_event event{EPOLLIN, {.fd = fd}};
        ::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, fd, &event);
    }
    std::uint64_t watchdogMicroseconds = 0;
    if (sd_watchdog_enabled(0, &watchdogMicroseconds) > 0) {
        m_watchdogTicks = std::max<std::uint64_t>(1, watchdogMicroseconds / 2'000'000);
    }
    sd_notify(0, "READY=1\nSTATUS=Receiving syslog messages");
    journal::notice("started on the data directory " + m_options.dataDirectory);

    for (bool running = true; running;) {
        epoll_event ready{};
        if (::epoll_wait(epoll.get(), &ready, 1, -1) <= 0) {
            continue;
        }
        if (ready.data.fd == timerFd.get()) {
            std::uint64_t expirations = 0;
            [[maybe_unused]] const ssize_t n =
                ::read(timerFd.get(), &expirations, sizeof expirations);
            tick();
        } else if (ready.data.fd == inotifyFd.get()) {
            onDirectoryChanges(inotifyFd.get());
        } else {
            running = onSignal(signalFd.get());
        }
    }
    sd_notify(0, "STOPPING=1");
    journal::notice("stopping");
    stop();
    reportCounts(true);
    return 0;
}

} // namespace velmora::server
