#include "core/eventlog/EventStore.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/presentation/DateFormat.h"

namespace velmora {
namespace {

using Text = std::optional<std::string>;

EventFields fields(const Text& date, const Text& priority, const Text& host = "10.0.0.1",
                   const Text& message = "text") {
    const auto view = [](const Text& t) {
        return t ? std::optional<std::string_view>(*t) : std::nullopt;
    };
    return {view(date), view(priority), view(host), view(message)};
}

TEST(EventStore, NewestFirstWithFieldsAsReceived) {
    EventStore store;
    store.insert(fields("1700000000", "Local7.Debug", "a", "first"));
    store.insert(fields(std::nullopt, "", std::nullopt, ""), Dictionary{{"Extra", "kept"}});
    ASSERT_EQ(store.size(), 2u);
    const EventId top = store.at(0);
    EXPECT_EQ(store.rawDate(top), std::nullopt);
    EXPECT_EQ(store.priority(top), std::optional<std::string_view>(""));
    EXPECT_EQ(store.host(top), std::nullopt);
    EXPECT_EQ(store.message(top), std::optional<std::string_view>(""));
    ASSERT_NE(store.extras(top), nullptr);
    EXPECT_EQ(store.extras(top)->string("Extra"), "kept");
    EXPECT_EQ(store.message(store.at(1)), std::optional<std::string_view>("first"));
    EXPECT_EQ(store.extras(store.at(1)), nullptr);
    // Never shown: the date is the received text and there is no image.
    EXPECT_EQ(store.date(store.at(1)), Text("1700000000"));
    EXPECT_EQ(store.image(store.at(1)), std::nullopt);
}

TEST(EventStore, LongLiveTextsAreKeptWhole) {
    EventStore store;
    const std::string huge(200'000, 'x');
    store.insert(fields(huge, "Local7.Debug", huge, huge));
    EXPECT_EQ(store.rawDate(store.at(0))->size(), huge.size());
    EXPECT_EQ(store.host(store.at(0))->size(), huge.size());
    EXPECT_EQ(store.message(store.at(0))->size(), huge.size());
}

TEST(EventStore, CountsEverySeverityWordAndUnknown) {
    EventStore store;
    for (const char* p :
         {"Local7.Informational", "User.Notice", "Foo.Bar", "Error.Alert", "Local7.Information"}) {
        store.insert(fields("1", p));
    }
    store.insert(fields("1", std::nullopt));
    const SeverityCounters& c = store.counters();
    EXPECT_EQ(c[Severity::Informational], 1);
    EXPECT_EQ(c[Severity::Notice], 1);
    EXPECT_EQ(c[Severity::Error], 1);
    EXPECT_EQ(c[Severity::Alert], 1);
    EXPECT_EQ(c[Severity::Unknown], 3); // Foo.Bar, "Information" without "al", and no priority
    EXPECT_EQ(c[Severity::Debug], 0);
}

TEST(EventStore, RemovedRowsLeaveTheListButKeepTheirTexts) {
    EventStore store;
    std::vector<EventId> ids;
    for (int i = 0; i < 6; ++i) {
        ids.push_back(store.insert(fields(std::to_string(i), "Local7.Debug")));
    }
    const std::size_t rows[] = {0, 2, 5};
    store.removeRows(rows);
    ASSERT_EQ(store.size(), 3u);
    EXPECT_EQ(store.rawDate(store.at(0)), std::optional<std::string_view>("4"));
    EXPECT_EQ(store.rawDate(store.at(1)), std::optional<std::string_view>("2"));
    EXPECT_EQ(store.rawDate(store.at(2)), std::optional<std::string_view>("1"));
    EXPECT_EQ(store.rawDate(ids[5]), std::optional<std::string_view>("5"));
    EXPECT_EQ(store.counters()[Severity::Debug], 6); // removal does not recount
}

TEST(EventStore, FindFirstMatchingComparesTheShownDateAndAllFields) {
    EventStore store;
    store.appear("", "", kDefaultSeverityLevels);
    // Two identical decorated events and one raw one (inserted while the page was hidden).
    store.insertDecorated(fields("1700000000", "Local7.Debug", "h", "m"), {}, "",
                          kDefaultSeverityLevels);
    store.insertDecorated(fields("1700000000", "Local7.Debug", "h", "m"), {}, "",
                          kDefaultSeverityLevels);
    store.insert(fields("1700000000", "Local7.Debug", "h", "m"));
    store.insertDecorated(fields("1700000000", std::nullopt, "h", "m"), {}, "",
                          kDefaultSeverityLevels);
    const std::string shown = "2023-11-14 22:13:20";
    EXPECT_EQ(store.findFirstMatching(shown, "Local7.Debug", "h", "m"), 2u);
    EXPECT_EQ(store.findFirstMatching(shown, "Local7.Debug", "h", "M"), std::nullopt);
    EXPECT_EQ(store.findFirstMatching(shown, "Local7.Debug", "H", "m"), std::nullopt);
    EXPECT_EQ(store.findFirstMatching("1700000000", "Local7.Debug", "h", "m"), 1u);
    EXPECT_EQ(store.findFirstMatching(shown, "Kern.Debug", "h", "m"), std::nullopt);
}

// The eager rewrite of the events page, kept here as the reference: every row a dictionary
// whose date and image are rewritten in place at each appearance.
struct EagerRow {
    Text date;
    std::optional<Level> image;
    Text priority;
};

class EagerPage {
public:
    std::vector<EagerRow> rows; // newest first
    std::string oldFormat;
    std::string newFormat;
    SeverityLevels levels = kDefaultSeverityLevels;

    void insert(EagerRow row, bool shown) {
        if (shown) {
            setImage(row);
            if (row.date) {
                setDate(row, *row.date);
            }
        }
        rows.insert(rows.begin(), std::move(row));
    }

    void appear() {
        const bool same = oldFormat == newFormat;
        for (EagerRow& row : rows) {
            if (row.date && isDigitsOnly(*row.date)) {
                setDate(row, *row.date);
            } else if (row.date && !same) {
                setDate(row, oldFormat);
            }
            setImage(row);
        }
    }

private:
    void setDate(EagerRow& row, const std::string& format) {
        row.date = convertDate(*row.date, format, DateFormat(format), DateFormat(newFormat));
    }
    void setImage(EagerRow& row) {
        // A missing priority contains no severity word: Unknown.
        if (const auto level = levels.levelOf(displayedSeverity(row.priority.value_or("")))) {
            row.image = level;
        }
    }
};

TEST(EventStore, LazyDatesAndImagesEqualTheEagerRewrite) {
    const std::vector<std::string> formats = {"", "yyyy-MM-dd HH:mm:ss", "dd.MM.yyyy h:mm:ss AM/PM",
                                              "yyyy-MM-dd HH:mm", "HH:mm:ss dd/MM/yyyy"};
    const std::vector<Text> dates = {"1700000000", "1700003723", "0",         "1700000000.5",
                                     "abc",        "",           std::nullopt};
    const std::vector<Text> priorities = {"Local7.Debug", "Kern.Emergency", "User.Warning",
                                          "Foo.Bar", std::nullopt};
    std::mt19937 random(20261122);
    const auto pick = [&](const auto& list) { return list[random() % list.size()]; };

    for (int sequence = 0; sequence < 1000; ++sequence) {
        EventStore store;
        EagerPage page;
        page.oldFormat = page.newFormat = pick(formats);
        bool shown = false;
        const auto compareRow = [&](std::size_t row) {
            const EventId id = store.at(row);
            ASSERT_EQ(store.date(id), page.rows[row].date) << "sequence " << sequence;
            ASSERT_EQ(store.image(id), page.rows[row].image) << "sequence " << sequence;
        };
        for (int step = 0; step < 24; ++step) {
            switch (random() % 6) {
            case 0:
            case 1: { // a new event
                const Text date = pick(dates);
                const Text priority = pick(priorities);
                page.insert({date, std::nullopt, priority}, shown);
                if (shown) {
                    store.insertDecorated(fields(date, priority), {}, page.newFormat, page.levels);
                } else {
                    store.insert(fields(date, priority));
                }
                break;
            }
            case 2: // the page appears
                shown = true;
                page.appear();
                store.appear(page.oldFormat, page.newFormat, page.levels);
                break;
            case 3: // the Options page saves new formats and levels
                shown = false;
                page.oldFormat = page.newFormat;
                page.newFormat = pick(formats);
                for (const Severity s : kAllSeverities) {
                    page.levels[s] = static_cast<std::int64_t>(random() % 4); // 3: no image
                }
                break;
            case 4: { // events removed
                std::vector<std::size_t> rows;
                for (std::size_t r = 0; r < page.rows.size(); ++r) {
                    if (random() % 4 == 0) {
                        rows.push_back(r);
                    }
                }
                for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
                    page.rows.erase(page.rows.begin() + static_cast<std::ptrdiff_t>(*it));
                }
                store.removeRows(rows);
                break;
            }
            case 5: // someone looks at a row
                if (!page.rows.empty()) {
                    compareRow(random() % page.rows.size());
                }
                break;
            }
            ASSERT_EQ(store.size(), page.rows.size());
        }
        for (std::size_t row = 0; row < page.rows.size(); ++row) {
            compareRow(row);
        }
    }
}

} // namespace
} // namespace velmora
