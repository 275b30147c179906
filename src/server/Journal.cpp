#include "server/Journal.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace velmora::server::journal {

namespace {

void write(int level, std::string_view text) {
    static const bool toJournal = std::getenv("JOURNAL_STREAM") != nullptr;
    static std::mutex lock;
    std::string line = toJournal ? "<" + std::to_string(level) + ">" : "velmora-server: ";
    line += text;
    line += '\n';
    const std::scoped_lock guard(lock);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void error(std::string_view text) {
    write(3, text);
}

void warning(std::string_view text) {
    write(4, text);
}

void notice(std::string_view text) {
    write(5, text);
}

void info(std::string_view text) {
    write(6, text);
}

} // namespace velmora::server::journal
