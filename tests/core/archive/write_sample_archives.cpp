// Writes archives of known content into the directory given as the argument, for
// check_archive_graph.py to read with an independent property-list reader. The expected
// values are repeated there; change both together.

#include <cstdint>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "core/archive/KeyedArchive.h"

namespace {

using velmora::Array;
using velmora::Data;
using velmora::Date;
using velmora::Dictionary;
using velmora::Value;

std::vector<std::pair<std::string, Value>> samples() {
    const Dictionary settings{
        {"hostsDisplay", true},
        {"dateFormat", "yyyy-MM-dd HH:mm:ss"},
        {"severityEmergency", 2},
        {"removalDebug", 30},
        {"actionsEmailPort", 25},
        {"actionsEmailPassword", "pässwörd"},
        {"popupSound", ""},
        {"includeFiltersArray",
         Array{Value(Dictionary{
                   {"filterName", "ssh"}, {"filterHost", "10.0.0.1"}, {"filterEnabled", true}}),
               Value(Dictionary{{"filterName", "kern"}, {"filterEnabled", false}})}},
        {"popupDisplayArray", Array{}},
        {"actionsFormatBody", "Date:$date\r\nPriority:$priority\r\n"},
    };
    const Dictionary email{
        {"Settings", "email"},
        {"Recipients", Array{Value("a@example.com"), Value("b@example.com")}},
        {"Subject", "Test"},
        {"Body", "Hello ✓"},
        {"Html", false},
    };
    const Dictionary everyKind{
        {"ascii", "plain"},
        {"empty", ""},
        {"latin", "Grüße"},
        {"emoji", "😀"},
        {"cjk", "日本語"},
        {"integers",
         Array{Value(0), Value(255), Value(256), Value(65535), Value(std::int64_t{2147483647}),
               Value(std::int64_t{2147483648}), Value(std::int64_t{4294967296}), Value(-1),
               Value(std::numeric_limits<std::int64_t>::min()),
               Value(std::numeric_limits<std::int64_t>::max())}},
        {"booleans", Array{Value(true), Value(false), Value(1), Value(0)}},
        {"reals", Array{Value(1.5), Value(0.1), Value(-3.0)}},
        {"data", Data{{0x00, 0x01, 0xFF}}},
        {"emptyData", Data{}},
        {"date", Date{700000000.5}},
        {"emptyArray", Array{}},
        {"emptyDictionary", Dictionary{}},
        {"nested",
         Array{Value(Array{Value(Dictionary{})}), Value(Dictionary{{"a", Array{Value(1)}}})}},
        {"nullText", "$null"},
        {"plain", "plain"},
    };
    return {
        {"settings", settings},
        {"reload-command", Dictionary{{"Settings", "read"}}},
        {"email-command", email},
        {"every-kind", everyKind},
        {"array-root", Array{Value(Dictionary{{"k", "v"}}), Value("k"), Value("v")}},
    };
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_sample_archives DIRECTORY\n";
        return 2;
    }
    for (const auto& [name, value] : samples()) {
        const std::vector<std::uint8_t> bytes = velmora::keyed_archive::encode(value);
        std::ofstream out(std::string(argv[1]) + "/" + name + ".archive", std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!out) {
            std::cerr << "cannot write " << name << "\n";
            return 1;
        }
    }
    return 0;
}
