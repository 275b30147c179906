#pragma once

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/settings/SettingsStore.h"
#include "server/EventQueue.h"
#include "server/Forwarder.h"
#include "server/HostResolver.h"
#include "server/LogFileWriter.h"
#include "server/Notifier.h"
#include "server/ServerOptions.h"
#include "server/ServerSettings.h"
#include "server/Statistics.h"
#include "server/TcpReceiver.h"
#include "server/UdpReceiver.h"

namespace velmora::server {

// The running server: receiving threads that parse and filter messages into a bounded queue,
// one writer thread that appends them to the log files in batches and hands what it wrote to
// the sinks (notifications, forwarding), and the main loop, which waits for signals, for
// writes to the pipe file and for a one-second timer (the service watchdog, the journal's
// counts, and the periodic work to come).
class Server {
public:
    explicit Server(ServerOptions options);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server();

    // Runs until SIGTERM or SIGINT; the process's exit status.
    int run();

private:
    Status start();
    Status openReceivers();
    Status createPipe() const;
    void reloadSettings(std::string_view why);
    void readPipe();
    void onDirectoryChanges(int inotifyFd);
    bool onSignal(int signalFd);
    void writerLoop();
    bool writePending(LogFileWriter& writer, std::vector<LogEvent>& pending, bool failing);
    void handOver(std::vector<LogEvent>& pending, std::size_t written);
    void tick();
    void reportCounts(bool final);
    void stop();

    ServerOptions m_options;
    SettingsStore m_store;
    SettingsHolder m_settings;
    Statistics m_statistics;
    EventQueue m_queue;
    std::set<std::string> m_reportedProblems;
    std::unique_ptr<HostResolver> m_resolver;
    std::unique_ptr<Notifier> m_notifier;
    std::unique_ptr<Forwarder> m_forwarder;
    std::vector<EventSink*> m_sinks;
    int m_stopEvent = -1;
    std::vector<std::unique_ptr<UdpReceiver>> m_udp;
    std::unique_ptr<TcpReceiver> m_tcp;
    std::thread m_writer;
    std::uint64_t m_ticks = 0;
    std::uint64_t m_lastWriterTurns = 0;
    std::uint64_t m_watchdogTicks = 0; // ticks between watchdog pings, 0 for none
};

} // namespace velmora::server
