#include "core/eventlog/EventStore.h"

#include <map>
#include <memory>
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
    // In any order; an index past the end or given twice is passed over.
    const std::size_t rows[] = {5, 0, 2, 0, 6, 99};
    store.removeRows(rows);
    ASSERT_EQ(store.size(), 3u);
    EXPECT_EQ(store.rawDate(store.at(0)), std::optional<std::string_view>("4"));
    EXPECT_EQ(store.rawDate(store.at(1)), std::optional<std::string_view>("2"));
    EXPECT_EQ(store.rawDate(store.at(2)), std::optional<std::string_view>("1"));
    EXPECT_EQ(store.rawDate(ids[5]), std::optional<std::string_view>("5"));
    EXPECT_EQ(store.counters()[Severity::Debug], 6); // removal does not recount
    store.removeRows(std::vector<std::size_t>{});
    EXPECT_EQ(store.size(), 3u);

    // Found by event: rows from the top, of the events still in the list.
    EXPECT_FALSE(store.inList(ids[5]));
    EXPECT_TRUE(store.inList(ids[4]));
    EXPECT_EQ(store.rowsOf(ids), (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(store.rowsOf(std::vector<EventId>{ids[1], ids[3], ids[4]}),
              (std::vector<std::size_t>{0, 2}));
    const EventId later = store.insert(fields("6", "Local7.Debug"));
    EXPECT_EQ(store.eventsInList(later), (std::vector<EventId>{ids[1], ids[2], ids[4]}));
    EXPECT_EQ(store.eventsInList(store.nextId()).back(), later);
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

// The plain walk from the top that findFirstMatching must equal.
std::optional<std::size_t> walkFromTheTop(const EventStore& store, std::string_view shown,
                                          std::string_view priority, std::string_view host,
                                          std::string_view message, EventId before) {
    for (std::size_t row = 0; row < store.size(); ++row) {
        const EventId id = store.at(row);
        if (id < before && store.inList(id) && store.priority(id) == priority &&
            store.host(id) == host && store.message(id) == message && store.date(id) == shown) {
            return row;
        }
    }
    return std::nullopt;
}

// Lists made to hold many events of the same texts, with events entered, shown, removed and
// retired between searches, and the index of searches filled a few events at a time so that
// searches meet it at every stage; one list grows past what the index was first sized for.
TEST(EventStore, FindFirstMatchingEqualsTheWalkFromTheTop) {
    const std::string_view dates[] = {"1700000000", "1700000001"};
    const std::string_view priorities[] = {"Local7.Debug", "Kern.Error"};
    const std::string_view hosts[] = {"a", "b"};
    const std::string_view messages[] = {"m", "n", ""};
    std::mt19937 random(16);
    const auto pick = [&](const auto& list) { return list[random() % std::size(list)]; };
    for (int list = 0; list < 30; ++list) {
        EventStore store;
        const int steps = list == 0 ? 6000 : 300;
        for (int step = 0; step < steps; ++step) {
            const EventFields event = {pick(dates), pick(priorities), pick(hosts), pick(messages)};
            switch (random() % 8) {
            case 0:
                store.insert(event);
                break;
            case 1:
                store.appear("", "", kDefaultSeverityLevels);
                break;
            case 2:
                if (!store.empty()) {
                    const std::size_t rows[] = {random() % store.size()};
                    store.removeRows(rows);
                }
                break;
            case 3:
                if (!store.empty()) {
                    store.retire(store.at(random() % store.size()));
                }
                break;
            case 4:
                if (list > 0 || step % 50 == 0) {
                    store.prepareMatching(random() % 6);
                    const std::string shown = store.dates().formatTimestamp(*event.date, "");
                    // Now and then only among the events entered before a given one.
                    const auto before =
                        random() % 4 == 0
                            ? EventId{static_cast<std::uint32_t>(
                                  random() % (static_cast<std::uint32_t>(store.nextId()) + 1))}
                            : store.nextId();
                    ASSERT_EQ(store.findFirstMatching(shown, *event.priority, *event.host,
                                                      *event.message, before),
                              walkFromTheTop(store, shown, *event.priority, *event.host,
                                             *event.message, before))
                        << "list " << list << ", step " << step;
                }
                break;
            default:
                store.insertDecorated(event, {}, "", kDefaultSeverityLevels);
                break;
            }
        }
    }
}

// The eager rewrite of the events page, kept here as the reference: every row a record whose
// date and image are rewritten in place at each appearance.
struct EagerRow {
    Text date;
    std::optional<Level> image;
    Text priority;
};

class EagerPage {
public:
    std::vector<std::shared_ptr<EagerRow>> rows; // newest first; the popup may hold one too
    std::string oldFormat;
    std::string newFormat;
    SeverityLevels levels = kDefaultSeverityLevels;

    std::shared_ptr<EagerRow> insert(EagerRow row, bool shown) {
        auto record = std::make_shared<EagerRow>(std::move(row));
        if (shown) {
            setImage(*record);
            if (record->date) {
                setDate(*record, *record->date);
            }
        }
        rows.insert(rows.begin(), record);
        return record;
    }

    void appear() {
        const bool same = oldFormat == newFormat;
        for (const auto& row : rows) {
            if (row->date && isDigitsOnly(*row->date)) {
                setDate(*row, *row->date);
            } else if (row->date && !same) {
                setDate(*row, oldFormat);
            }
            setImage(*row);
        }
    }

private:
    std::map<std::string, DateFormat> m_formats;

    const DateFormat& formatter(const std::string& format) {
        return m_formats.try_emplace(format, format).first->second;
    }
    void setDate(EagerRow& row, const std::string& format) {
        row.date = convertDate(*row.date, format, formatter(format), formatter(newFormat));
    }
    void setImage(EagerRow& row) {
        // A missing priority contains no severity word: Unknown.
        if (const auto level = levels.levelOf(displayedSeverity(row.priority.value_or("")))) {
            row.image = level;
        }
    }
};

struct SequenceShape {
    int sequences;
    int steps;
    int longestBurst; // showings in a row, with events arriving between them
};

// Random sequences of inserts (shown or hidden), showings, saves of new formats and levels,
// removals and looks at rows, run through the store and the eager page side by side. Formats
// that write digits only ("yyyy", "HHmmss") make a shown date read as a time stamp again at
// the next showing, the hardest case for a store that skips showings that change nothing.
void runSequences(std::uint32_t seed, const SequenceShape& shape) {
    const std::vector<std::string> formats = {"",
                                              "yyyy-MM-dd HH:mm:ss",
                                              "dd.MM.yyyy h:mm:ss AM/PM",
                                              "dd.MM.yyyy h:mm:ss a",
                                              "yyyy-MM-dd HH:mm",
                                              "HH:mm:ss dd/MM/yyyy",
                                              "yyyy",
                                              "HHmmss"};
    const std::vector<Text> dates = {"1700000000", "1700003723", "0",  "1700000000.5",
                                     "abc",        "",           "42", std::nullopt};
    const std::vector<Text> priorities = {"Local7.Debug", "Kern.Emergency", "User.Warning",
                                          "Foo.Bar", std::nullopt};
    std::mt19937 random(seed);
    const auto pick = [&](const auto& list) { return list[random() % list.size()]; };

    for (int sequence = 0; sequence < shape.sequences; ++sequence) {
        EventStore store;
        EagerPage page;
        page.oldFormat = page.newFormat = pick(formats);
        std::vector<std::pair<EventId, std::shared_ptr<EagerRow>>> removed;
        bool shown = false;
        int saves = 0;
        DateHistory::RowState scratch; // as a pass over many rows works a date out
        const auto compare = [&](EventId id, const EagerRow& expected) {
            ASSERT_EQ(store.date(id), expected.date) << "sequence " << sequence;
            ASSERT_EQ(store.date(id, scratch), expected.date) << "sequence " << sequence;
            ASSERT_EQ(store.image(id), expected.image) << "sequence " << sequence;
        };
        const auto insert = [&] {
            const Text date = pick(dates);
            const Text priority = pick(priorities);
            page.insert({date, std::nullopt, priority}, shown);
            if (shown) {
                store.insertDecorated(fields(date, priority), {}, page.newFormat, page.levels);
            } else {
                store.insert(fields(date, priority));
            }
        };
        for (int step = 0; step < shape.steps; ++step) {
            switch (random() % 7) {
            case 0:
            case 1:
                insert();
                break;
            case 2: { // the page appears, maybe many times with events between
                const auto showings = 1 + random() % static_cast<unsigned>(shape.longestBurst);
                for (unsigned n = 0; n < showings; ++n) {
                    shown = true;
                    page.appear();
                    store.appear(page.oldFormat, page.newFormat, page.levels);
                    if (random() % 8 == 0) {
                        insert();
                    }
                    shown = random() % 2 == 0;
                    if (random() % 8 == 0) {
                        insert();
                    }
                }
                break;
            }
            case 3: // the Options page saves new formats and levels
                shown = false;
                ++saves;
                page.oldFormat = page.newFormat;
                page.newFormat = pick(formats);
                for (const Severity s : kAllSeverities) {
                    page.levels[s] = static_cast<std::int64_t>(random() % 4); // 3: no image
                }
                break;
            case 4: { // events removed, scattered or as one run
                const bool run = random() % 2 == 0;
                std::vector<std::size_t> rows;
                const std::size_t first = page.rows.empty() ? 0 : random() % page.rows.size();
                const std::size_t count = 1 + random() % 5;
                for (std::size_t r = 0; r < page.rows.size(); ++r) {
                    if (run ? r >= first && r < first + count : random() % 4 == 0) {
                        rows.push_back(r);
                    }
                }
                for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
                    const auto at = page.rows.begin() + static_cast<std::ptrdiff_t>(*it);
                    removed.emplace_back(store.at(*it), *at);
                    page.rows.erase(at);
                }
                if (run) {
                    store.removeRowRange(first, count);
                } else {
                    store.removeRows(rows);
                }
                break;
            }
            case 5: // someone looks at a row
                if (!page.rows.empty()) {
                    const std::size_t row = random() % page.rows.size();
                    compare(store.at(row), *page.rows[row]);
                }
                break;
            case 6:
                shown = false;
                break;
            }
            ASSERT_EQ(store.size(), page.rows.size());
        }
        for (std::size_t row = 0; row < page.rows.size(); ++row) {
            compare(store.at(row), *page.rows[row]);
        }
        // A removed record stays as it was last written, as the popup shows it.
        for (const auto& [id, record] : removed) {
            compare(id, *record);
        }
        // However many showings there were, the history grows only with changes of formats or
        // levels: a row looked at replays that many entries at most.
        ASSERT_LE(store.dates().entryCount(), static_cast<std::size_t>(saves) + 1);
    }
}

TEST(EventStore, LazyDatesAndImagesEqualTheEagerRewrite) {
    runSequences(20261122, {1000, 24, 1});
}

TEST(EventStore, LazyDatesEqualTheEagerRewriteOverHundredsOfShowings) {
    runSequences(1700000000, {80, 24, 200});
}

TEST(EventStore, RepeatedShowingsShareOneHistoryEntry) {
    EventStore store;
    store.insert(fields("1700000000", "Local7.Error"));
    for (int i = 0; i < 500; ++i) {
        store.appear("yyyy-MM-dd HH:mm", "yyyy-MM-dd HH:mm:ss", kDefaultSeverityLevels);
        store.insert(fields("1700000000", "Local7.Debug"));
    }
    EXPECT_EQ(store.dates().entryCount(), 1u);
    // The oldest row was written at the first showing and re-read in the old format at the
    // second, which fails: it has no date from then on. The newest was written once.
    EXPECT_EQ(store.date(store.at(store.size() - 1)), std::nullopt);
    EXPECT_EQ(store.image(store.at(store.size() - 1)), Level::Moderate);
    EXPECT_EQ(store.date(store.at(1)), Text("2023-11-14 22:13:20"));
    EXPECT_EQ(store.date(store.at(0)), Text("1700000000"));
}

} // namespace
} // namespace velmora
