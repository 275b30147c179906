#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/eventlog/LogLineReader.h"
#include "core/reports/Report.h"

namespace velmora {

// Adds the lines of a report's files to it, one piece at a time, in file and line order: the
// key of each line is interned (its id is the group), and the line itself is kept only as
// where it lies in its file, with a check of its bytes.
//
// A report by message has as many keys as lines, far more than the processor's caches hold, and
// each new key costs a trip to memory. Keys therefore wait in a short queue while their slots
// are fetched, and enter the table a few lines later; flush() enters those still waiting.
class ReportLines {
public:
    explicit ReportLines(Report& report);

    bool full() const;
    void add(std::string_view piece, std::uint64_t offset);
    void flush();

    // The check kept with a line: a hash of its bytes, but for the message when the message is
    // the key (the key itself is compared when the line is read again).
    static std::uint32_t check(std::string_view piece, const LogFields& fields, bool messageIsKey);

private:
    struct Pending {
        std::string key;
        std::uint32_t hash = 0;
        std::uint32_t detail = 0;
    };
    static constexpr std::size_t kPipeline = 16; // a power of two

    // Dates in whole seconds already written: log lines come in time order, so the last few
    // thousand seconds answer nearly every line.
    struct SecondText {
        std::int64_t second = 0;
        std::uint32_t id = UINT32_MAX;
    };
    static constexpr std::size_t kSecondTexts = 4096; // a power of two

    Report& m_report;
    ReportField m_key;
    std::array<Pending, kPipeline> m_pending;
    std::size_t m_first = 0; // the oldest pending key
    std::size_t m_waiting = 0;
    std::array<SecondText, kSecondTexts> m_seconds{};

    void queueKey(std::string_view key, std::uint32_t detail);
    void enterOldest();
    std::uint32_t dateId(double seconds);
};

} // namespace velmora
