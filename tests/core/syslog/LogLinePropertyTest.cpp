// Every line the server writes must read back, by the console's rules, to exactly the event's
// four fields: hostile messages and hosts, read by the engine's reader and by the plain
// fgets + strtok reading.

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/eventlog/FgetsReference.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "core/syslog/LogEvent.h"

namespace velmora {
namespace {

// Bytes drawn to hit what breaks a line: separators, controls, NUL, priorities valid and not,
// fragments of multi-byte characters, and lengths around and far beyond a line's limit.
class HostileText {
public:
    explicit HostileText(unsigned seed)
        : m_random(seed) {}

    std::string next(std::size_t maxLength) {
        static const std::string kPieces[] = {",",
                                              "\r",
                                              "\n",
                                              "\r\n",
                                              std::string(1, '\0'),
                                              "\t",
                                              "\x7F",
                                              "\xC2\x85",
                                              "\xE2\x82\xAC",
                                              "\xF0\x9F\x98\x80",
                                              "\xE2\x82",
                                              "\xFF",
                                              "\xC0\xAF",
                                              "<13>",
                                              "<999>",
                                              "<191>1 ",
                                              "[a b=\"]\"]",
                                              " ",
                                              "-",
                                              "Nov 23 10:00:00 ",
                                              "word"};
        const std::size_t length = pick(maxLength + 1);
        std::string text;
        while (text.size() < length) {
            if (pick(4) == 0) {
                text += static_cast<char>(pick(256));
            } else {
                text += kPieces[pick(std::size(kPieces))];
            }
        }
        return text;
    }
    std::size_t pick(std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(m_random);
    }

private:
    std::mt19937 m_random;
};

TEST(LogLineProperty, EveryLineReadsBackToItsFourFields) {
    HostileText hostile(20261123);
    for (int round = 0; round < 5000; ++round) {
        const std::size_t maxLength = round % 20 == 0 ? 65536 : 1100;
        const std::string received = hostile.next(maxLength);
        const std::string host = round % 3 == 0 ? hostile.next(300) : "fe80::1";
        const auto date = static_cast<std::int64_t>(hostile.pick(1u << 31)) * (round % 2 ? 1 : -1);
        const LogEvent event = makeLogEvent(date, parseSyslogMessage(received), host);
        std::string line;
        appendLogLine(line, event);

        SCOPED_TRACE(testing::PrintToString(received));
        ASSERT_LE(line.size(), kMaxLogLineBytes);
        ASSERT_TRUE(isValidUtf8(line));
        const std::optional<LogFields> fields = parseLogPiece(line);
        ASSERT_TRUE(fields.has_value()) << line;
        EXPECT_EQ(fields->date, std::to_string(date));
        EXPECT_EQ(fields->priority, event.priorityText());
        EXPECT_EQ(fields->host, event.host);
        EXPECT_EQ(fields->message, event.message);

        const std::vector<test::PieceRecord> pieces = test::readWithFgets(line);
        ASSERT_EQ(pieces.size(), 1u);
        ASSERT_TRUE(pieces[0].hasFields);
        EXPECT_EQ(pieces[0].host, event.host);
        EXPECT_EQ(pieces[0].message, event.message);
    }
}

// A long message is cut, not dropped, and never inside a character.
TEST(LogLineProperty, LongMessagesFillTheLineToItsLimit) {
    for (const std::string& unit : {std::string("x"), std::string("\xE2\x82\xAC")}) {
        std::string received = "<13>";
        for (int i = 0; i < 2000; ++i) {
            received += unit;
        }
        std::string line;
        appendLogLine(line, makeLogEvent(1700000000, parseSyslogMessage(received), "10.0.0.1"));
        EXPECT_GT(line.size(), kMaxLogLineBytes - unit.size() - 1);
        EXPECT_LE(line.size(), kMaxLogLineBytes);
        EXPECT_TRUE(isValidUtf8(line));
    }
}

} // namespace
} // namespace velmora
