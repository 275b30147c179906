#include "core/syslog/EventFilter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "core/presentation/PriorityNames.h"

namespace velmora {

namespace {

constexpr std::string_view kAny = "Any";

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        const auto lower = [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        };
        return lower(x) == lower(y);
    });
}

// The index of `text` among `names`, -1 for "Any", nothing when it is neither.
template <std::size_t N>
std::optional<int> nameIndex(std::string_view text, const std::array<std::string_view, N>& names) {
    if (equalIgnoringCase(text, kAny)) {
        return -1;
    }
    for (std::size_t i = 0; i < N; ++i) {
        if (equalIgnoringCase(text, names[i])) {
            return static_cast<int>(i);
        }
    }
    return std::nullopt;
}

std::optional<int> wholeNumber(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

EventFilter EventFilter::fromRecord(const Dictionary& record) {
    EventFilter filter;
    filter.m_name = record.string("Name");
    const std::string& ip = record.string("IP");
    const std::string& mask = record.string("Mask");
    const std::optional<SenderAddress> network = SenderAddress::parse(ip);
    const std::optional<int> prefix = wholeNumber(mask);
    const std::optional<int> facility = nameIndex(record.string("Facility"), kFacilityNames);
    const std::optional<int> severity = nameIndex(record.string("Severity"), kSyslogSeverityNames);
    if (!network) {
        filter.m_problem = "the IP \"" + ip + "\" is no IPv4 or IPv6 address";
    } else if (!prefix || *prefix < 0 || *prefix > network->bits()) {
        filter.m_problem = "the mask \"" + mask + "\" is no prefix length from 0 to " +
                           std::to_string(network->bits());
    } else if (!facility) {
        filter.m_problem = "the facility \"" + record.string("Facility") + "\" is unknown";
    } else if (!severity) {
        filter.m_problem = "the severity \"" + record.string("Severity") + "\" is unknown";
    } else {
        filter.m_network = *network;
        filter.m_prefixLength = *prefix;
        filter.m_facility = *facility;
        filter.m_severity = *severity;
        filter.m_message = MessagePattern(record.string("Message"));
    }
    return filter;
}

bool EventFilter::matches(const FilterSubject& subject) const {
    if (!m_problem.empty()) {
        return false;
    }
    const bool anyHost = m_prefixLength == 0;
    return (anyHost || m_network.sameNetwork(subject.sender, m_prefixLength)) &&
           (m_facility < 0 || m_facility == subject.priority / 8) &&
           (m_severity < 0 || m_severity == subject.priority % 8) &&
           m_message.matches(subject.message);
}

} // namespace velmora
