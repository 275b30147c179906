#include "core/syslog/SyslogFramer.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Messages = std::vector<std::string>;

// The stream is fed in chunks of every size from 1 byte to whole, so that a frame cut
// anywhere across two reads is put together again.
Messages framed(const std::string& stream, std::size_t chunk, std::size_t maxBytes) {
    SyslogFramer framer(maxBytes);
    Messages messages;
    for (std::size_t at = 0; at < stream.size(); at += chunk) {
        framer.append(std::string_view(stream).substr(at, chunk));
        while (const auto message = framer.next()) {
            messages.emplace_back(*message);
        }
    }
    if (const auto last = framer.finish()) {
        messages.emplace_back(*last);
    }
    return messages;
}

TEST(SyslogFramer, OctetCountingAndLineFeedsMixedAndCut) {
    const struct {
        const char* name;
        std::string stream;
        std::size_t maxBytes;
        Messages messages;
    } cases[] = {
        {"line feeds", "<13>a\n<14>b\n", 100, {"<13>a", "<14>b"}},
        {"octet counted", "5 <13>a6 <14>bc", 100, {"<13>a", "<14>bc"}},
        {"counted with a line feed inside", "7 <13>a\nb<14>c\n", 100, {"<13>a\nb", "<14>c"}},
        {"mixed", "5 <13>a<14>b\n3 xyz", 100, {"<13>a", "<14>b", "xyz"}},
        {"last line without its line feed", "<13>a\n<14>b", 100, {"<13>a", "<14>b"}},
        {"counted frame cut short by the end", "10 <13>ab", 100, {"<13>ab"}},
        {"digits without a space are text", "123abc\n", 100, {"123abc"}},
        {"a leading zero is text", "05 <13>a\n", 100, {"05 <13>a"}},
        {"empty lines stay empty", "\n\n<13>a\n", 100, {"", "", "<13>a"}},
        {"long line cut, rest skipped", "<13>abcdefgh\n<14>b\n", 6, {"<13>ab", "<14>b"}},
        {"long counted frame cut, rest skipped", "12 <13>abcdefgh5 <14>b", 6, {"<13>ab", "<14>b"}},
        {"a huge count does not stall", "99999999999 x\n<13>a\n", 100, {"99999999999 x", "<13>a"}},
        {"ten digits are a count", "1000000005 <13>a\n<14>b\n", 100, {"<13>a\n<14>b\n"}},
    };
    for (const auto& c : cases) {
        for (std::size_t chunk = 1; chunk <= c.stream.size(); ++chunk) {
            SCOPED_TRACE(std::string(c.name) + ", chunks of " + std::to_string(chunk));
            EXPECT_EQ(framed(c.stream, chunk, c.maxBytes), c.messages);
        }
    }
}

// A whole frame is given out at once, not when the next one comes: a sender may stay silent.
TEST(SyslogFramer, AWholeFrameIsGivenOutWithoutWaiting) {
    for (const std::string frame : {"5 <13>a", "<13>a\n"}) {
        SyslogFramer framer;
        framer.append(frame);
        EXPECT_EQ(framer.next(), "<13>a");
    }
}

} // namespace
} // namespace velmora
