#include "core/eventlog/DeletionTable.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cinttypes>
#include <cmath>
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

// The whole seconds "%.0f" writes for an instant that is a whole number an integer holds exactly
// (not -0, which it writes with its sign); nullopt for any other.
std::optional<std::int64_t> wholeStamp(double seconds) {
    constexpr double kExactLimit = 9007199254740992.0; // 2^53
    if (!(std::fabs(seconds) < kExactLimit) || seconds != std::floor(seconds) ||
        (seconds == 0 && std::signbit(seconds))) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(seconds);
}

struct StampText {
    std::array<char, 24> digits;
    std::size_t length;
    std::string_view view() const { return {digits.data(), length}; }
};

StampText stampText(std::int64_t stamp) {
    StampText text{};
    text.length = static_cast<std::size_t>(
        std::to_chars(text.digits.data(), text.digits.data() + text.digits.size(), stamp).ptr -
        text.digits.data());
    return text;
}

} // namespace

DeletionTable::DeletionTable()
    : m_slots(8) {}

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

std::uint64_t DeletionTable::hashOf(std::string_view line) {
    return std::hash<std::string_view>{}(line);
}

void DeletionTable::reserve(std::size_t lines) {
    std::size_t slots = m_slots.size();
    while (slots * 3 < lines * 4) {
        slots *= 2;
    }
    m_keys.reserve(lines);
    if (slots != m_slots.size()) {
        rehash(slots);
    }
}

void DeletionTable::writeLine(const Key& key, std::string& out) const {
    out.clear();
    if (key.priority == kWholeLine) {
        out.append(key.text, key.length);
        return;
    }
    out.append(stampText(key.stamp).view()).append(",").append(m_fields[key.priority]);
    out.append(",").append(m_fields[key.host]).append(",").append(key.text, key.length);
    out.append("\n");
}

bool DeletionTable::keyIs(const Key& key, std::string_view line) const {
    const std::string_view text(key.text, key.length);
    if (key.priority == kWholeLine) {
        return line == text;
    }
    const StampText stamp = stampText(key.stamp);
    const std::string_view priority = m_fields[key.priority];
    const std::string_view host = m_fields[key.host];
    if (line.size() != stamp.length + priority.size() + host.size() + text.size() + 4) {
        return false;
    }
    // The parts in turn, each followed by its separator.
    for (const auto& [part, end] : {std::pair{stamp.view(), ','}, std::pair{priority, ','},
                                    std::pair{host, ','}, std::pair{text, '\n'}}) {
        if (!line.starts_with(part) || line[part.size()] != end) {
            return false;
        }
        line.remove_prefix(part.size() + 1);
    }
    return true;
}

std::size_t DeletionTable::slotOf(std::string_view line, std::uint64_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    const auto tag = static_cast<std::uint32_t>(hash);
    for (std::size_t at = static_cast<std::size_t>(hash >> m_shift);; at = (at + 1) & mask) {
        const Slot& slot = m_slots[at];
        if (slot.key == kNoKey || (slot.tag == tag && keyIs(m_keys[slot.key], line))) {
            return at;
        }
    }
}

std::optional<std::uint32_t> DeletionTable::find(std::string_view line) const {
    const std::uint32_t key = m_slots[slotOf(line, hashOf(line))].key;
    return key == kNoKey ? std::nullopt : std::optional<std::uint32_t>(key);
}

void DeletionTable::insert(std::size_t slot, std::uint64_t hash, std::string_view line, Key key) {
    const auto index = static_cast<std::uint32_t>(m_keys.size());
    m_keysLeft += key.count > 0 ? 1 : 0;
    m_keys.push_back(key);
    m_slots[slot] = {index, static_cast<std::uint32_t>(hash)};
    const std::size_t bit = fingerprint(line);
    m_filter[bit / 64] |= std::uint64_t{1} << (bit % 64);
    if (m_keys.size() * 4 > m_slots.size() * 3) {
        rehash(m_slots.size() * 2);
    }
}

void DeletionTable::rehash(std::size_t slots) {
    m_slots.assign(slots, Slot{});
    m_shift = 64 - std::countr_zero(slots);
    const std::size_t mask = slots - 1;
    std::string line;
    for (std::uint32_t index = 0; index < m_keys.size(); ++index) {
        writeLine(m_keys[index], line);
        const std::uint64_t hash = hashOf(line);
        std::size_t at = static_cast<std::size_t>(hash >> m_shift);
        while (m_slots[at].key != kNoKey) {
            at = (at + 1) & mask;
        }
        m_slots[at] = {index, static_cast<std::uint32_t>(hash)};
    }
}

std::uint32_t DeletionTable::fieldId(std::string_view text) {
    RecentField& recent = m_recentFields[(reinterpret_cast<std::uintptr_t>(text.data()) >> 3) %
                                         m_recentFields.size()];
    if (recent.data == text.data() && recent.length == text.size() && m_fields[recent.id] == text) {
        return recent.id;
    }
    auto it = m_fieldIds.find(text);
    if (it == m_fieldIds.end()) {
        // The map's key views the table's own copy.
        const auto id = static_cast<std::uint32_t>(m_fields.size());
        it = m_fieldIds.emplace(m_fields.emplace_back(text), id).first;
    }
    recent = {text.data(), text.size(), it->second};
    return it->second;
}

void DeletionTable::setCountValue(Key& key, std::int64_t count) {
    m_keysLeft -= key.count > 0 ? 1 : 0;
    key.count = count;
    m_keysLeft += count > 0 ? 1 : 0;
}

void DeletionTable::prefetchSlot(std::uint64_t hash) const {
    __builtin_prefetch(&m_slots[static_cast<std::size_t>(hash >> m_shift)]);
}

void DeletionTable::raise(std::uint32_t index) {
    Key& key = m_keys[index];
    setCountValue(key, key.count == std::numeric_limits<std::int64_t>::max() ? key.count
                                                                             : key.count + 1);
    m_countTexts.erase(index);
}

void DeletionTable::add(std::string_view line) {
    if (!isText(line)) {
        return;
    }
    const std::uint64_t hash = hashOf(line);
    const std::size_t slot = slotOf(line, hash);
    if (const std::uint32_t index = m_slots[slot].key; index != kNoKey) {
        raise(index);
        return;
    }
    const std::string& copy = m_lines.emplace_back(line);
    insert(slot, hash, copy,
           {1, 0, copy.data(), static_cast<std::uint32_t>(copy.size()), kWholeLine, 0});
}

void DeletionTable::addEvents(std::span<const EventLine> events) {
    std::array<Key, kBatch> keys{};
    std::array<std::uint64_t, kBatch> hashes{};
    std::array<bool, kBatch> entered{};
    for (std::size_t i = 0; i < events.size(); ++i) {
        const EventLine& e = events[i];
        const std::optional<std::int64_t> stamp = wholeStamp(e.seconds);
        if (!stamp) {
            add(deletionLine(e.seconds, e.priority, e.host, e.message));
        } else if (isText(e.priority) && isText(e.host) && isText(e.message)) {
            keys[i] = {1,
                       *stamp,
                       e.message.data(),
                       static_cast<std::uint32_t>(e.message.size()),
                       fieldId(e.priority),
                       fieldId(e.host)};
            writeLine(keys[i], m_batchLines[i]);
            hashes[i] = hashOf(m_batchLines[i]);
            prefetchSlot(hashes[i]);
            entered[i] = true;
        }
    }
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (!entered[i]) {
            continue;
        }
        const std::size_t slot = slotOf(m_batchLines[i], hashes[i]);
        if (const std::uint32_t index = m_slots[slot].key; index != kNoKey) {
            raise(index);
        } else {
            insert(slot, hashes[i], m_batchLines[i], keys[i]);
        }
    }
}

void DeletionTable::setCount(std::string_view line, std::string count) {
    if (!isText(line)) {
        return;
    }
    const std::int64_t value = countValue(count);
    std::uint32_t index = m_slots[slotOf(line, hashOf(line))].key;
    if (index == kNoKey) {
        add(line);
        index = *find(line);
    }
    setCountValue(m_keys[index], value);
    if (countText(value) == count) {
        m_countTexts.erase(index);
    } else {
        m_countTexts[index] = std::move(count);
    }
}

bool DeletionTable::take(std::string_view line) {
    const std::size_t bit = fingerprint(line);
    return (m_filter[bit / 64] >> (bit % 64) & 1) != 0 && takeHashed(line, hashOf(line));
}

void DeletionTable::takeEach(std::span<const std::string_view> lines, std::span<bool> taken) {
    std::array<std::uint64_t, kBatch> hashes{};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::size_t bit = fingerprint(lines[i]);
        taken[i] = (m_filter[bit / 64] >> (bit % 64) & 1) != 0;
        if (taken[i]) {
            hashes[i] = hashOf(lines[i]);
            prefetchSlot(hashes[i]);
        }
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        taken[i] = taken[i] && takeHashed(lines[i], hashes[i]);
    }
}

bool DeletionTable::takeHashed(std::string_view line, std::uint64_t hash) {
    const std::uint32_t index = m_slots[slotOf(line, hash)].key;
    if (index == kNoKey || m_keys[index].count <= 0) {
        return false;
    }
    setCountValue(m_keys[index], m_keys[index].count - 1);
    if (!m_countTexts.empty()) {
        m_countTexts.erase(index);
    }
    return true;
}

std::optional<std::string> DeletionTable::count(std::string_view line) const {
    const std::optional<std::uint32_t> index = find(line);
    if (!index) {
        return std::nullopt;
    }
    if (const auto text = m_countTexts.find(*index); text != m_countTexts.end()) {
        return text->second;
    }
    return countText(m_keys[*index].count);
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
