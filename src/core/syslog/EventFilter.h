#pragma once

#include <string>
#include <string_view>

#include "core/archive/Value.h"
#include "core/syslog/MessagePattern.h"
#include "core/syslog/SenderAddress.h"

namespace velmora {

// What a filter looks at in a received event.
struct FilterSubject {
    const SenderAddress& sender;
    int priority;
    std::string_view message;
};

// One record of the settings' include or exclude list: six strings "Name", "IP", "Mask",
// "Facility", "Severity" and "Message". It matches an event when
// - the sender lies in IP/Mask, Mask being a prefix length: "0" is any host of either family,
//   otherwise an IPv4 filter never matches an IPv6 sender and the other way round;
// - "Facility" and "Severity" are "Any" or the event's name ("Local7", "Debug"), in any case;
// - "Message" matches the event's message (MessagePattern).
// A malformed record (an IP that is no address, a mask that is no number or out of range, a
// facility or severity that is no name) matches nothing; problem() says what is wrong.
class EventFilter {
public:
    static EventFilter fromRecord(const Dictionary& record);

    bool matches(const FilterSubject& subject) const;

    const std::string& name() const { return m_name; }
    // Empty for a well-formed record.
    const std::string& problem() const { return m_problem; }

private:
    std::string m_name;
    SenderAddress m_network;
    int m_prefixLength = 0;
    int m_facility = -1; // -1: any
    int m_severity = -1; // -1: any
    MessagePattern m_message;
    std::string m_problem;
};

} // namespace velmora
