#include <gtest/gtest.h>

#include "core/syslog/FilterSet.h"
#include "support/FilterRecord.h"

namespace velmora {
namespace {

using test::filterRecord;

struct Event {
    const char* sender;
    int priority;
    const char* message;
};

constexpr Event kLocal7DebugV4{"192.168.1.20", 191, "Disk FULL on /var"};
constexpr Event kAuthErrorV6{"2001:db8::5", 35, "caf\xC3\xA9 login failed"};
constexpr Event kMappedV4{"::ffff:10.1.2.3", 13, "hello"};

bool matches(const Value& filter, const Event& event) {
    const SenderAddress sender = *SenderAddress::parse(event.sender);
    return EventFilter::fromRecord(*filter.asDictionary())
        .matches({sender, event.priority, event.message});
}

TEST(EventFilter, MatchesHostFacilitySeverityAndMessage) {
    const struct {
        Value filter;
        Event event;
        bool matches;
    } cases[] = {
        {filterRecord("0.0.0.0", "0", "Any", "Any", "*"), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "*"), kAuthErrorV6, true}, // mask 0: any host
        {filterRecord("192.168.1.0", "24", "Any", "Any", "*"), kLocal7DebugV4, true},
        {filterRecord("192.168.1.128", "25", "Any", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("192.168.1.20", "32", "Any", "Any", "*"), kLocal7DebugV4, true},
        {filterRecord("10.0.0.0", "8", "Any", "Any", "*"), kMappedV4, true}, // IPv4 through IPv6
        {filterRecord("192.168.1.0", "24", "Any", "Any", "*"), kAuthErrorV6,
         false}, // families differ
        {filterRecord("2001:db8::", "32", "Any", "Any", "*"), kAuthErrorV6, true},
        {filterRecord("2001:db8::", "32", "Any", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("0.0.0.0", "0", "local7", "Any", "*"), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Local6", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("0.0.0.0", "0", "Any", "Error", "*"), kAuthErrorV6, true},
        {filterRecord("0.0.0.0", "0", "AUTH", "error", "*"), kAuthErrorV6, true},
        {filterRecord("0.0.0.0", "0", "Authpriv", "Error", "*"), kAuthErrorV6, false},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "disk full"), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", ""), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "disk*/VAR"), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "full*"), kLocal7DebugV4,
         false}, // whole message
        {filterRecord("0.0.0.0", "0", "Any", "Any", "*on /v?"), kLocal7DebugV4, false},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "*on /v?r"), kLocal7DebugV4, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "CAF\xC3\x89 LOGIN"), kAuthErrorV6, true},
        {filterRecord("0.0.0.0", "0", "Any", "Any", "caf? *"), kAuthErrorV6,
         true}, // ? is one character
        {filterRecord("0.0.0.0", "0", "Any", "Any", "caf?? *"), kAuthErrorV6, false},
        // malformed records match nothing
        {filterRecord("not an address", "0", "Any", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("192.168.1.0", "33", "Any", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("192.168.1.0", "255.255.255.0", "Any", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("0.0.0.0", "0", "Nowhere", "Any", "*"), kLocal7DebugV4, false},
        {filterRecord("0.0.0.0", "0", "Any", "", "*"), kLocal7DebugV4, false},
        {Value(Dictionary{}), kLocal7DebugV4, false},
    };
    for (const auto& c : cases) {
        const Dictionary& r = *c.filter.asDictionary();
        SCOPED_TRACE(r.string("IP") + "/" + r.string("Mask") + " " + r.string("Facility") + "." +
                     r.string("Severity") + " " + r.string("Message"));
        EXPECT_EQ(matches(c.filter, c.event), c.matches);
    }
}

TEST(FilterSet, IncludeThenExcludeAndMalformedRecordsReported) {
    const Value local7 = filterRecord("0.0.0.0", "0", "Local7", "Any", "*");
    const Value disk = filterRecord("0.0.0.0", "0", "Any", "Any", "disk");
    const Value broken = filterRecord("300.1.1.1", "8", "Any", "Any", "*");
    const struct {
        Array include;
        Array exclude;
        bool keepsLocal7;
        bool keepsAuth;
        std::size_t problems;
    } cases[] = {
        {{}, {}, true, true, 0},
        {{local7}, {}, true, false, 0},
        {{local7}, {disk}, false, false, 0},
        {{}, {disk}, false, true, 0},
        {{broken}, {}, false, false, 1},
        {{broken, local7}, {broken}, true, false, 2},
        {{Value("not a record")}, {}, false, false, 1},
    };
    for (const auto& c : cases) {
        const FilterSet filters = FilterSet::fromSettings(
            Dictionary{{"includeFiltersArray", c.include}, {"excludeFiltersArray", c.exclude}});
        const SenderAddress v4 = *SenderAddress::parse(kLocal7DebugV4.sender);
        const SenderAddress v6 = *SenderAddress::parse(kAuthErrorV6.sender);
        EXPECT_EQ(filters.keeps({v4, kLocal7DebugV4.priority, kLocal7DebugV4.message}),
                  c.keepsLocal7);
        EXPECT_EQ(filters.keeps({v6, kAuthErrorV6.priority, kAuthErrorV6.message}), c.keepsAuth);
        EXPECT_EQ(filters.problems().size(), c.problems);
    }
}

} // namespace
} // namespace velmora
