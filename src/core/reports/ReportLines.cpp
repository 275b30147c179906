#include "core/reports/ReportLines.h"

#include <optional>

#include "core/eventlog/Utf8.h"
#include "core/reports/ReportEngine.h"

namespace velmora {

namespace {

std::string_view fieldOf(const LogFields& fields, ReportField field) {
    switch (field) {
    case ReportField::Date:
        return fields.date;
    case ReportField::Priority:
        return fields.priority;
    case ReportField::Host:
        return fields.host;
    case ReportField::Message:
        break;
    }
    return fields.message;
}

} // namespace

ReportLines::ReportLines(Report& report)
    : m_report(report)
    , m_key(report.m_columns[0]) {}

bool ReportLines::full() const {
    return m_report.m_details.size() >= ReportEngine::kMaxDetails;
}

std::uint32_t ReportLines::check(std::string_view piece, const LogFields& fields,
                                 bool messageIsKey) {
    const auto beforeMessage = static_cast<std::size_t>(fields.message.data() - piece.data());
    const std::uint32_t head = TextTable::hash(piece.substr(0, beforeMessage));
    return messageIsKey ? head : head ^ (TextTable::hash(fields.message) * 0x9E3779B1U);
}

void ReportLines::add(std::string_view piece, std::uint64_t offset) {
    const std::optional<LogFields> fields = parseLogPiece(piece);
    if (!fields) {
        return;
    }
    const auto detail = static_cast<std::uint32_t>(m_report.m_details.size());
    m_report.m_details.push_back({offset << Report::kPlaceLengthBits | piece.size(),
                                  check(piece, *fields, m_key == ReportField::Message), 0});
    if (m_key == ReportField::Date) {
        m_report.m_details.back().group = dateId(timestampFromText(fields->date));
        return;
    }
    const std::string_view key = fieldOf(*fields, m_key);
    if (isValidUtf8(key)) {
        queueKey(key, detail);
    } else {
        queueKey(decodeLenient(key), detail);
    }
}

void ReportLines::queueKey(std::string_view key, std::uint32_t detail) {
    if (m_waiting == kPipeline) {
        enterOldest();
    }
    Pending& pending = m_pending[(m_first + m_waiting) & (kPipeline - 1)];
    pending.key.assign(key);
    pending.hash = TextTable::hash(key);
    pending.detail = detail;
    m_report.m_keys.prefetch(pending.hash);
    ++m_waiting;
}

void ReportLines::enterOldest() {
    const Pending& pending = m_pending[m_first];
    TextTable& keys = m_report.m_keys;
    m_report.m_details[pending.detail].group =
        m_key == ReportField::Message
            ? keys.internDeferred(pending.key, pending.hash, pending.detail)
            : keys.intern(pending.key, pending.hash);
    m_first = (m_first + 1) & (kPipeline - 1);
    --m_waiting;
}

void ReportLines::flush() {
    while (m_waiting > 0) {
        enterOldest();
    }
}

std::uint32_t ReportLines::dateId(double seconds) {
    DateTextWriter& dates = m_report.m_dates;
    const std::optional<std::int64_t> second = dates.wholeSecond(seconds);
    if (!second) {
        return m_report.m_keys.intern(dates.format(seconds));
    }
    SecondText& cached = m_seconds[static_cast<std::uint64_t>(*second) & (kSecondTexts - 1)];
    if (cached.id == UINT32_MAX || cached.second != *second) {
        cached = {*second, m_report.m_keys.intern(dates.format(seconds))};
    }
    return cached.id;
}

} // namespace velmora
