#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "support/TempDir.h"

extern char** environ;

namespace velmora::test {

// A loopback port that was free a moment ago, for a server to bind.
inline std::uint16_t freePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// The real velmora-server on a data directory, receiving on loopback UDP and TCP at one port,
// its standard error in a file; stopped with SIGTERM when dropped.
class ServerProcess {
public:
    ServerProcess(const std::string& program, const std::string& dataDirectory)
        : m_port(freePort())
        , m_journal(m_logs / "journal.txt") {
        const std::string udp = "udp://127.0.0.1:" + std::to_string(m_port);
        const std::string tcp = "tcp://127.0.0.1:" + std::to_string(m_port);
        const std::string config = (m_logs / "none.conf").string();
        writeFile(config, "");
        std::vector<std::string> arguments = {program,    "--data-dir", dataDirectory, "--config",
                                              config,     "--session",  "--listen",    udp,
                                              "--listen", tcp};
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, m_journal.c_str(), O_WRONLY | O_CREAT, 0644);
        ::posix_spawn(&m_pid, program.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        waitForJournal("started", 1);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() { stop(); }

    // SIGTERM, and the exit status.
    int stop() {
        if (m_pid <= 0) {
            return m_status;
        }
        ::kill(m_pid, SIGTERM);
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = 0;
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return m_status;
    }

    std::uint16_t port() const { return m_port; }
    std::string journal() const { return readFile(m_journal); }

    // Waits, ten seconds at most, until the journal holds `text` `times` times.
    bool waitForJournal(const std::string& text, int times) const {
        for (int waited = 0; waited < 1000; ++waited) {
            const std::string said = journal();
            int found = 0;
            for (auto at = said.find(text); at != std::string::npos; at = said.find(text, at + 1)) {
                ++found;
            }
            if (found >= times) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

private:
    TempDir m_logs;
    std::uint16_t m_port;
    std::filesystem::path m_journal;
    pid_t m_pid = 0;
    int m_status = -1;
};

} // namespace velmora::test
