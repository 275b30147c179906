// The events page over ten million events: what a showing costs, with and without a change of
// date format, what painting a screen of rows costs after hundreds of showings, and what
// removing a thousand rows costs.
//
//   bench_event_store [benchmark flags]
//
// Each benchmark builds its own list of VELMORA_BENCH_EVENTS events (default 10,000,000)
// before it is timed, and runs a fixed number of iterations on it. A screen is 40 rows; rows
// looked at for the first time are the expensive ones, so the painting benchmarks move to rows
// not looked at before in every iteration.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/eventlog/EventStore.h"
#include "core/presentation/PriorityNames.h"

namespace {

using namespace velmora;

constexpr std::size_t kScreenRows = 40;
constexpr const char* kSeconds = "yyyy-MM-dd HH:mm:ss";
constexpr const char* kDayFirst = "dd.MM.yyyy HH:mm:ss";

std::size_t eventCount() {
    const char* text = std::getenv("VELMORA_BENCH_EVENTS");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 10'000'000;
}

// A list of loaded events: a date for every 40 events, the server's priority names, 40 hosts.
EventStore& freshStore(std::optional<EventStore>& store) {
    store.reset();
    store.emplace();
    std::vector<std::uint32_t> priorities;
    for (const std::string_view facility : kFacilityNames) {
        for (const std::string_view severity : kSyslogSeverityNames) {
            priorities.push_back(
                store->priorities().intern(std::string(facility) + "." + std::string(severity)));
        }
    }
    std::vector<std::uint32_t> hosts;
    for (int h = 0; h < 40; ++h) {
        hosts.push_back(store->hosts().intern("10.0.0." + std::to_string(h)));
    }
    const std::size_t events = eventCount();
    std::string message;
    for (std::size_t i = 0; i < events; ++i) {
        message = "sshd[" + std::to_string(i % 65536) + "]: session opened for user admin";
        store->insertLine(std::to_string(1700000000 + i / 40), priorities[i % priorities.size()],
                          hosts[i % hosts.size()], message);
    }
    return *store;
}

// Looks at the date and image of each row of a screen, as the table paints them.
void paint(const EventStore& store, std::size_t firstRow) {
    for (std::size_t row = firstRow; row < firstRow + kScreenRows && row < store.size(); ++row) {
        const EventId id = store.at(row);
        benchmark::DoNotOptimize(store.date(id));
        benchmark::DoNotOptimize(store.image(id));
    }
}

void setMemoryCounter(benchmark::State& state, const EventStore& store) {
    state.counters["events"] = static_cast<double>(store.size());
    state.counters["bytes/event"] =
        static_cast<double>(store.memoryBytes()) / static_cast<double>(store.size());
}

// The page appears (the formats unchanged since the last showing) and paints a screen of rows
// it has not painted before.
void showingAndPaintingAScreen(benchmark::State& state) {
    std::optional<EventStore> holder;
    EventStore& store = freshStore(holder);
    std::size_t firstRow = 0;
    for (auto _ : state) {
        store.appear(kSeconds, kSeconds, kDefaultSeverityLevels);
        paint(store, firstRow);
        firstRow += kScreenRows;
    }
    setMemoryCounter(state, store);
}

// The date format changed on the Options page: the page appears and paints its top screen,
// every row of which was last written in the other format.
void showingAfterAFormatChange(benchmark::State& state) {
    std::optional<EventStore> holder;
    EventStore& store = freshStore(holder);
    store.appear(kSeconds, kSeconds, kDefaultSeverityLevels);
    paint(store, 0);
    bool toDayFirst = true;
    for (auto _ : state) {
        store.appear(toDayFirst ? kSeconds : kDayFirst, toDayFirst ? kDayFirst : kSeconds,
                     kDefaultSeverityLevels);
        paint(store, 0);
        toDayFirst = !toDayFirst;
    }
}

// After 500 showings, half of them after a change of format that the page then showed again
// and again, rows never looked at before are painted.
void paintingAfterManyShowings(benchmark::State& state) {
    std::optional<EventStore> holder;
    EventStore& store = freshStore(holder);
    store.appear(kSeconds, kSeconds, kDefaultSeverityLevels);
    for (int showing = 0; showing < 250; ++showing) {
        store.appear(kSeconds, kDayFirst, kDefaultSeverityLevels);
    }
    for (int showing = 0; showing < 249; ++showing) {
        store.appear(kDayFirst, kDayFirst, kDefaultSeverityLevels);
    }
    std::size_t firstRow = 0;
    for (auto _ : state) {
        paint(store, firstRow);
        firstRow += kScreenRows * 1000;
    }
    state.counters["history entries"] = static_cast<double>(store.dates().entryCount());
}

// A thousand rows spread over the whole list, as a selection for deletion may be.
void removingAThousandRows(benchmark::State& state) {
    std::optional<EventStore> holder;
    EventStore& store = freshStore(holder);
    std::mt19937_64 random(1);
    std::vector<std::size_t> rows(1000);
    for (auto _ : state) {
        state.PauseTiming();
        for (std::size_t& row : rows) {
            row = random() % store.size();
        }
        state.ResumeTiming();
        store.removeRows(rows);
    }
    setMemoryCounter(state, store);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("ShowingAndPaintingAScreen", showingAndPaintingAScreen)
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(200);
    benchmark::RegisterBenchmark("ShowingAfterAFormatChange", showingAfterAFormatChange)
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(100);
    benchmark::RegisterBenchmark("PaintingAfterManyShowings", paintingAfterManyShowings)
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(200);
    benchmark::RegisterBenchmark("RemovingAThousandRows", removingAThousandRows)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(20);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
