#include "core/eventlog/DeletionTable.h"

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

#include "core/eventlog/Utf8.h"

namespace velmora {

namespace {

// The integer a count text stands for, read as a decimal integer reading of text does: white
// space skipped, an optional sign, then digits up to the first other character; no digits
// read as 0, and values beyond the range of 64 bits stop at its ends.
std::int64_t countValue(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos])) != 0) {
        ++pos;
    }
    bool negative = false;
    if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        negative = text[pos] == '-';
        ++pos;
    }
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    for (; pos < text.size() && text[pos] >= '0' && text[pos] <= '9'; ++pos) {
        const int digit = text[pos] - '0';
        if (value > (kMax - digit) / 10) {
            return negative ? std::numeric_limits<std::int64_t>::min() : kMax;
        }
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

std::string countText(std::int64_t value) {
    char buffer[24];
    const int length = std::snprintf(buffer, sizeof buffer, "%" PRId64, value);
    return std::string(buffer, static_cast<std::size_t>(length));
}

} // namespace

bool DeletionTable::isText(std::string_view line) {
    return line.find('\0') == std::string_view::npos && isValidUtf8(line);
}

std::size_t DeletionTable::fingerprint(std::string_view line) {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (!line.empty()) {
        std::memcpy(&head, line.data(), std::min<std::size_t>(line.size(), 8));
    }
    if (line.size() > 8) {
        std::memcpy(&tail, line.data() + line.size() - 8, 8);
    }
    const std::uint64_t mixed =
        (head ^ (tail * 0x9E3779B97F4A7C15) ^ line.size()) * 0xFF51AFD7ED558CCD;
    return static_cast<std::size_t>(mixed >> 48);
}

void DeletionTable::store(std::string_view line, std::string count) {
    const bool left = countValue(count) > 0;
    const auto it = m_counts.find(line);
    if (it == m_counts.end()) {
        m_counts.emplace(std::string(line), std::move(count));
        const std::size_t bit = fingerprint(line);
        m_filter[bit / 64] |= std::uint64_t{1} << (bit % 64);
    } else {
        m_keysLeft -= countValue(it->second) > 0 ? 1 : 0;
        it->second = std::move(count);
    }
    m_keysLeft += left ? 1 : 0;
}

void DeletionTable::add(std::string_view line) {
    if (!isText(line)) {
        return;
    }
    const auto it = m_counts.find(line);
    if (it == m_counts.end()) {
        store(line, "1");
        return;
    }
    const std::int64_t count = countValue(it->second);
    store(line, countText(count == std::numeric_limits<std::int64_t>::max() ? count : count + 1));
}

void DeletionTable::setCount(std::string_view line, std::string count) {
    if (isText(line)) {
        store(line, std::move(count));
    }
}

bool DeletionTable::take(std::string_view line) {
    const std::size_t bit = fingerprint(line);
    if ((m_filter[bit / 64] >> (bit % 64) & 1) == 0) {
        return false;
    }
    const auto it = m_counts.find(line);
    if (it == m_counts.end()) {
        return false;
    }
    const std::int64_t left = countValue(it->second);
    if (left <= 0) {
        return false;
    }
    it->second = countText(left - 1);
    m_keysLeft -= left == 1 ? 1 : 0;
    return true;
}

std::optional<std::string_view> DeletionTable::count(std::string_view line) const {
    const auto it = m_counts.find(line);
    return it == m_counts.end() ? std::nullopt : std::optional<std::string_view>(it->second);
}

std::string deletionLine(double seconds, std::string_view priority, std::string_view host,
                         std::string_view message) {
    char stamp[512];
    const int length = std::snprintf(stamp, sizeof stamp, "%.0f", seconds);
    std::string line;
    line.reserve(static_cast<std::size_t>(length) + priority.size() + host.size() + message.size() +
                 4);
    line.append(stamp, static_cast<std::size_t>(std::clamp(length, 0, 511)));
    line.append(",").append(priority).append(",").append(host).append(",").append(message);
    line.append("\n");
    return line;
}

} // namespace velmora
