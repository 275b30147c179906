#include "core/eventlog/StringPool.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

// Texts short enough to be compared as words differ from each other in one byte at every
// place, at the lengths where the comparison changes (7, 8, 9, 16, 17, 24, 25, 32, 33 bytes),
// and from their own prefixes; a NUL is a byte like any other.
TEST(StringPool, EqualTextsShareAnIdAndEveryOtherTextHasItsOwn) {
    std::vector<std::string> texts = {"", std::string(1, '\0'), std::string(2, '\0')};
    for (const std::size_t length : {1, 7, 8, 9, 15, 16, 17, 23, 24, 25, 31, 32, 33, 40}) {
        const std::string base(length, 'a');
        texts.push_back(base);
        for (std::size_t at = 0; at < length; ++at) {
            std::string other = base;
            other[at] = 'b';
            texts.push_back(other);
        }
    }
    StringPool pool;
    std::vector<std::uint32_t> ids;
    for (const std::string& text : texts) {
        ids.push_back(pool.intern(text));
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_NE(ids[i], StringPool::kAbsent);
        EXPECT_EQ(pool.text(ids[i]), texts[i]);
        EXPECT_EQ(pool.intern(texts[i]), ids[i]) << i;
        EXPECT_EQ(pool.find(texts[i]), ids[i]) << i;
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_NE(ids[i], ids[j]) << i << " " << j;
        }
    }
    EXPECT_EQ(pool.size(), texts.size() + 1);
    EXPECT_EQ(pool.find("not interned"), StringPool::kAbsent);
}

TEST(StringPool, IdsStayValidAsTheTableGrows) {
    StringPool pool;
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(pool.intern("host-" + std::to_string(i)), static_cast<std::uint32_t>(i + 1));
    }
    for (int i = 0; i < 10000; i += 97) {
        EXPECT_EQ(pool.find("host-" + std::to_string(i)), static_cast<std::uint32_t>(i + 1));
        EXPECT_EQ(pool.text(static_cast<std::uint32_t>(i + 1)), "host-" + std::to_string(i));
    }
}

} // namespace
} // namespace velmora
