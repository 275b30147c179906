#include "core/archive/FirstArchive.h"

#include <gtest/gtest.h>

#include "core/archive/KeyedArchive.h"

namespace velmora {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes archive(const Dictionary& dictionary) {
    return keyed_archive::encode(Value(dictionary));
}

Bytes concat(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

const Dictionary kReload{{"Settings", "read"}};
const Dictionary kEmail{{"Settings", "email"},
                        {"Recipients", Array{Value("admin@example.com")}},
                        {"Subject", "Kestrix Velmora - Test message"},
                        {"Body", "Date:now\r\nPriority:Local7.Debug\r\n"},
                        {"Html", false}};

// The pipe as the console leaves it: the newest command written from offset 0 over what was
// there, never truncated.
Bytes overwritten(const Bytes& older, const Bytes& newer) {
    Bytes file = older;
    file.resize(std::max(older.size(), newer.size()));
    std::copy(newer.begin(), newer.end(), file.begin());
    return file;
}

TEST(FirstArchive, FindsTheArchiveAtTheStartWhateverFollows) {
    const Bytes reload = archive(kReload);
    const Bytes email = archive(kEmail);
    const Bytes noise(4096, 0xA5);
    const struct {
        const char* name;
        Bytes file;
        Dictionary expected;
        std::size_t length;
    } cases[] = {
        {"alone", reload, kReload, reload.size()},
        {"over a longer command", overwritten(email, reload), kReload, reload.size()},
        {"longer over a shorter one", overwritten(reload, email), kEmail, email.size()},
        {"twice in a row", concat(reload, reload), kReload, reload.size()},
        {"before other bytes", concat(reload, noise), kReload, reload.size()},
        {"before its own tail", concat(email, Bytes(email.end() - 40, email.end())), kEmail,
         email.size()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(keyed_archive::firstListLength(c.file), c.length);
        const Result<Dictionary> decoded = keyed_archive::decodeFirstDictionary(c.file);
        ASSERT_TRUE(decoded.ok()) << decoded.error().message;
        EXPECT_EQ(decoded.value(), c.expected);
    }
}

TEST(FirstArchive, NoArchiveAtTheStartIsAnError) {
    const Bytes reload = archive(kReload);
    const Bytes cases[] = {
        {},
        Bytes(reload.begin(), reload.end() - 1),
        concat(Bytes{'x'}, reload),
        concat(Bytes(reload.begin(), reload.begin() + 20), Bytes(64, 0)),
        Bytes{'b', 'p', 'l', 'i', 's', 't', '0', '0'},
    };
    for (const Bytes& file : cases) {
        EXPECT_FALSE(keyed_archive::decodeFirstDictionary(file).ok()) << file.size();
    }
    // A property list that is not a dictionary archive is no command.
    EXPECT_FALSE(keyed_archive::decodeFirstDictionary(keyed_archive::encode(Value("read"))).ok());
}

} // namespace
} // namespace velmora
