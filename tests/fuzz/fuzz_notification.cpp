// Feeds the live-notification handler a user-information dictionary of arbitrary keys and
// values, built from the input bytes: texts of any bytes and length (huge ones included),
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
// The list starts over past these, so that a long run stays within memory.
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

    std::string text() {
        const std::uint8_t length = byte();
        if (length == 0xFF) {
            // A huge text: a few bytes repeated to a megabyte.
            const std::string unit = text();
            std::string huge;
            while (!unit.empty() && huge.size() < (std::size_t{1} << 20)) {
                huge += unit;
            }
            return huge;
        }
        std::string out;
        for (std::uint8_t i = 0; i < length && m_pos < m_size; ++i) {
            out.push_back(static_cast<char>(byte()));
        }
        return out;
    }

private:
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

struct Console {
    EventStore store;
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
    if (console->store.size() > kEventsBeforeReset ||
        console->store.memoryBytes() > kBytesBeforeReset) {
        console = std::make_unique<Console>();
    }
    return 0;
}
