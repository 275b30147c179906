// Feeds the live-notification handler a user-information dictionary of arbitrary keys and
// values, built from the input bytes: texts of any bytes and length (up to 128 KiB),
// integers, booleans, reals (NaN and infinities too), data, dates, and nested lists and
// dictionaries, under the keys the handler reads or any other. Each dictionary goes the way of
// a notification through the console: read as a "Set" or "Remove", entered into the event list
// (decorated at once or as received), its date and image worked out in one of the display
// formats, matched for removal, and tested against a popup selection list. The list lives
// across inputs, as it does in the console, so later notifications meet earlier events.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/archive/Value.h"
#include "core/eventlog/EventStore.h"
#include "core/eventlog/LiveNotification.h"
#include "core/presentation/Severity.h"

namespace {

using namespace velmora;

constexpr int kMaxDepth = 4;
constexpr std::size_t kHugeTextBytes = std::size_t{128} << 10;
// The list starts over past these, so that a long run stays within memory. The bytes are those
// of the notifications entered: their extra keys, kept with the events, are not in the list's
// own memory figure.
constexpr std::size_t kEventsBeforeReset = 20'000;
constexpr std::size_t kBytesBeforeReset = std::size_t{256} << 20;

// Reads the recipe from the input; past its end every read gives zeros.
class Recipe {
public:
    Recipe(const std::uint8_t* data, std::size_t size)
        : m_data(data)
        , m_size(size) {}

    std::uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }

    template <typename T>
    T scalar() {
        T value{};
        std::uint8_t bytes[sizeof(T)] = {};
        for (std::uint8_t& b : bytes) {
            b = byte();
        }
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    // A short text, or (length byte 0xFF) a short text repeated to 128 KiB: past what a 16-bit
    // length holds.
    std::string text() {
        const std::uint8_t length = byte();
        if (length != 0xFF) {
            return shortText(length);
        }
        const std::string unit = shortText(byte());
        std::string huge;
        huge.reserve((kHugeTextBytes) + unit.size());
        while (!unit.empty() && huge.size() < (kHugeTextBytes)) {
            huge += unit;
        }
        return huge;
    }

private:
    std::string shortText(std::uint8_t length) {
        std::string out;
        for (std::uint8_t i = 0; i < length && m_pos < m_size; ++i) {
            out.push_back(static_cast<char>(byte()));
        }
        return out;
    }

    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

Value value(Recipe& recipe, int depth);

Dictionary dictionary(Recipe& recipe, int depth) {
    static constexpr const char* kKeys[] = {"Type", "Date", "Priority", "Host", "Message"};
    Dictionary out;
    const std::uint8_t entries = recipe.byte() % 10;
    for (std::uint8_t i = 0; i < entries; ++i) {
        const std::uint8_t pick = recipe.byte();
        std::string key = pick < 200 ? kKeys[pick % 5] : recipe.text();
        out.set(std::move(key), value(recipe, depth + 1));
    }
    return out;
}

Value value(Recipe& recipe, int depth) {
    switch (recipe.byte() % 12) {
    case 0:
        return Value(std::string(recipe.byte() % 2 == 0 ? "Set" : "Remove"));
    case 1:
        return Value(std::string(recipe.byte() % 2 == 0 ? "1700000000" : "Local7.Debug"));
    case 2:
        return Value(recipe.scalar<std::int64_t>());
    case 3:
        return Value(recipe.byte() % 2 == 0);
    case 4:
        return Value(recipe.scalar<double>());
    case 5:
        return Value(Data{{recipe.byte(), recipe.byte()}});
    case 6:
        return Value(Date{recipe.scalar<double>()});
    case 7: {
        Array list;
        const std::uint8_t n = depth < kMaxDepth ? recipe.byte() % 4 : 0;
        for (std::uint8_t i = 0; i < n; ++i) {
            list.push_back(value(recipe, depth + 1));
        }
        return Value(std::move(list));
    }
    case 8:
        return depth < kMaxDepth ? Value(dictionary(recipe, depth)) : Value(std::string());
    default:
        return Value(recipe.text());
    }
}

std::size_t textBytes(const Dictionary& dictionary);

// The bytes of the texts and data in a value, roughly what keeping a copy of it costs.
std::size_t textBytes(const Value& v) {
    std::size_t bytes = sizeof(Value);
    if (const std::string* text = v.asString()) {
        bytes += text->size();
    } else if (const Data* data = v.asData()) {
        bytes += data->bytes.size();
    } else if (const Array* list = v.asArray()) {
        for (const Value& element : *list) {
            bytes += textBytes(element);
        }
    } else if (const Dictionary* dictionary = v.asDictionary()) {
        bytes += textBytes(*dictionary);
    }
    return bytes;
}

std::size_t textBytes(const Dictionary& dictionary) {
    std::size_t bytes = 0;
    for (const auto& [key, element] : dictionary) {
        bytes += key.size() + textBytes(element);
    }
    return bytes;
}

struct Console {
    EventStore store;
    std::size_t enteredBytes = 0;
    std::vector<std::string> popupList{"Error", "Information", "Unknown"};
};

std::unique_ptr<Console> console = std::make_unique<Console>();

void handle(const Dictionary& userInformation, Recipe& recipe) {
    static constexpr std::string_view kFormats[] = {"", "yyyy-MM-dd HH:mm:ss",
                                                    "dd.MM.yyyy h:mm:ss AM/PM", "d-MMM-yyyy HH:mm",
                                                    "AM/PM AM/PM 'quoted' yyyyyyyy"};
    const std::string_view format = kFormats[recipe.byte() % std::size(kFormats)];
    EventStore& store = console->store;

    const LiveNotification notification = readLiveNotification(userInformation);
    switch (notification.type) {
    case NotificationType::Set: {
        const std::size_t before = store.size();
        const EventId id = recipe.byte() % 2 == 0
                               ? store.insert(notification.fields, notification.extras)
                               : store.insertDecorated(notification.fields, notification.extras,
                                                       format, kDefaultSeverityLevels);
        if (store.size() != before + 1 || store.at(0) != id ||
            store.priority(id) != notification.fields.priority ||
            store.message(id) != notification.fields.message) {
            std::abort();
        }
        static_cast<void>(store.date(id));
        static_cast<void>(store.image(id));
        static_cast<void>(
            popupSelects(notification.fields.priority.value_or(""), console->popupList));
        break;
    }
    case NotificationType::Remove: {
        const EventFields& fields = notification.fields;
        if (!fields.priority || !fields.host || !fields.message) {
            break;
        }
        const std::string shown =
            store.dates().formatTimestamp(fields.date.value_or(std::string_view()), format);
        if (const auto row =
                store.findFirstMatching(shown, *fields.priority, *fields.host, *fields.message)) {
            const EventId id = store.at(*row);
            if (store.priority(id) != fields.priority || store.host(id) != fields.host) {
                std::abort();
            }
            const std::size_t rows[] = {*row};
            store.removeRows(rows);
        }
        break;
    }
    case NotificationType::Other:
        break;
    }
    if (recipe.byte() % 16 == 0) {
        store.appear(format, kFormats[recipe.byte() % std::size(kFormats)], kDefaultSeverityLevels);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Recipe recipe(data, size);
    const Dictionary userInformation = dictionary(recipe, 0);
    handle(userInformation, recipe);
    console->enteredBytes += textBytes(userInformation);
    if (console->store.size() > kEventsBeforeReset ||
        console->store.memoryBytes() + console->enteredBytes > kBytesBeforeReset) {
        console = std::make_unique<Console>();
    }
    return 0;
}
