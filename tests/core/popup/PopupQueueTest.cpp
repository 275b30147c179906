#include "core/popup/PopupQueue.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

// Time as the queue sees it: its pauses advance it instead of sleeping.
class VirtualClock {
public:
    std::int64_t now() const { return m_ms.load(); }
    void advance(std::chrono::milliseconds by) { m_ms += by.count(); }

    PopupQueue::Pause pause() {
        return [this](std::chrono::milliseconds duration, std::stop_token) {
            advance(duration);
            std::this_thread::yield();
        };
    }

private:
    std::atomic<std::int64_t> m_ms{0};
};

struct Shown {
    EventId event;
    std::int64_t popupTime;
    std::int64_t at;
    std::shared_ptr<PopupCondition> gone;
};

// Records what the queue asks for, with virtual times. Popups stay on screen until the test
// closes them, unless closing at once is asked for.
class RecordingHost : public PopupHost {
public:
    explicit RecordingHost(VirtualClock& clock)
        : m_clock(clock) {}

    void setSettings(PopupSettings settings) {
        const std::scoped_lock lock(m_mutex);
        m_settings = std::move(settings);
    }
    void closeAtOnce() { m_closeAtOnce = true; }

    std::optional<PopupSettings> popupSettings(std::stop_token) override {
        const std::scoped_lock lock(m_mutex);
        return m_settings;
    }

    void playSound(const std::string& path) override {
        const std::scoped_lock lock(m_mutex);
        m_sounds.push_back(m_clock.now());
        m_soundPaths.push_back(path);
        m_changed.notify_all();
    }

    bool showPopup(const PopupRecord& record, std::int64_t popupTime,
                   std::shared_ptr<PopupCondition> gone, std::stop_token) override {
        const std::scoped_lock lock(m_mutex);
        m_shown.push_back({record.event, popupTime, m_clock.now(), gone});
        if (m_closeAtOnce) {
            gone->signal();
        }
        m_changed.notify_all();
        return true;
    }

    // Waits (at most ten seconds, so that a broken queue fails instead of hanging) until the
    // host has shown `popups` popups and played `sounds` sounds.
    bool waitFor(std::size_t popups, std::size_t sounds = 0) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(
            lock, 10s, [&] { return m_shown.size() >= popups && m_sounds.size() >= sounds; });
    }

    std::vector<Shown> shown() const {
        const std::scoped_lock lock(m_mutex);
        return m_shown;
    }
    std::vector<std::int64_t> sounds() const {
        const std::scoped_lock lock(m_mutex);
        return m_sounds;
    }
    std::vector<std::string> soundPaths() const {
        const std::scoped_lock lock(m_mutex);
        return m_soundPaths;
    }

private:
    VirtualClock& m_clock;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    PopupSettings m_settings;
    std::atomic<bool> m_closeAtOnce{false};
    std::vector<Shown> m_shown;
    std::vector<std::int64_t> m_sounds;
    std::vector<std::string> m_soundPaths;
};

PopupRecord record(std::uint32_t id, std::string priority = "Local7.Debug") {
    return {EventId{id}, std::move(priority)};
}

PopupSettings popupsFor(std::vector<std::string> severities, std::int64_t seconds = 3) {
    PopupSettings settings;
    settings.popupEvents = seconds;
    settings.popupDisplayArray = std::move(severities);
    return settings;
}

class PopupQueueTest : public testing::Test {
protected:
    VirtualClock clock;
    RecordingHost host{clock};
    PopupQueue queue{host, clock.pause()};
};

TEST_F(PopupQueueTest, BurstShowsOnePopupAtATimeInArrivalOrder) {
    host.setSettings(popupsFor({"Debug"}, 3));
    queue.start();
    for (std::uint32_t id = 0; id < 10; ++id) {
        queue.append(record(id));
    }

    std::int64_t previousClosed = 0;
    for (std::uint32_t i = 0; i < 10; ++i) {
        ASSERT_TRUE(host.waitFor(i + 1));
        const Shown popup = host.shown()[i];
        EXPECT_EQ(popup.event, EventId{i});
        EXPECT_EQ(popup.popupTime, 3);
        // Nothing more was taken while this popup is on screen.
        EXPECT_EQ(queue.size(), 9u - i);
        if (i > 0) {
            EXPECT_GE(popup.at, previousClosed + 200);
        }
        // The popup grows for a second, stays three and shrinks for one, then goes.
        clock.advance(5s);
        previousClosed = clock.now();
        popup.gone->signal();
    }
    EXPECT_TRUE(host.sounds().empty());
}

TEST_F(PopupQueueTest, SoundOnlyTakesOneRecordPerPass) {
    PopupSettings settings;
    settings.popupSound = "/usr/share/sounds/alert.oga";
    settings.popupPlayArray = {"Debug"};
    host.setSettings(settings);
    for (std::uint32_t id = 0; id < 6; ++id) {
        queue.append(record(id));
    }
    queue.start();

    ASSERT_TRUE(host.waitFor(0, 6));
    const std::vector<std::int64_t> sounds = host.sounds();
    for (std::size_t i = 1; i < sounds.size(); ++i) {
        EXPECT_GE(sounds[i] - sounds[i - 1], 200) << "between sounds " << i - 1 << " and " << i;
    }
    EXPECT_EQ(host.soundPaths().front(), settings.popupSound);
    EXPECT_TRUE(host.shown().empty());
}

TEST_F(PopupQueueTest, SelectsBySeverityNamesInTheLists) {
    // Each case: an event, then an Emergency marker whose popup shows that the event before it
    // was fully handled; the sound list decides for the event alone.
    struct Case {
        const char* priority;
        std::vector<std::string> playList;
        bool sounds;
    };
    const Case cases[] = {
        {"Local7.Informational", {"Information"}, true},
        {"Local7.Informational", {"Informational"}, true},
        {"Local7.Informational", {"Notice", "Debug"}, false},
        {"Local7.Debug", {}, false},
        {"Foo.Bar", {"Unknown"}, true},
        {"Foo.Bar", {"Debug", "Error"}, false},
        // Every word of the text is tried: the facility's "Alert" is chosen.
        {"Alerter.Debug", {"Alert"}, true},
    };
    host.closeAtOnce();
    queue.start();
    std::size_t popups = 0;
    std::size_t sounds = 0;
    std::uint32_t id = 0;
    for (const Case& c : cases) {
        PopupSettings settings = popupsFor({"Emergency"});
        settings.popupSound = "alert.wav";
        settings.popupPlayArray = c.playList;
        host.setSettings(settings);
        queue.append(record(id++, c.priority));
        queue.append(record(id++, "Kern.Emergency"));
        sounds += c.sounds ? 1 : 0;
        ASSERT_TRUE(host.waitFor(++popups));
        EXPECT_EQ(host.sounds().size(), sounds) << c.priority << " with " << c.playList.size();
    }
}

TEST_F(PopupQueueTest, SurvivesAThousandAppendsDuringAPopup) {
    host.setSettings(popupsFor({"Debug"}));
    queue.start();
    queue.append(record(0));
    ASSERT_TRUE(host.waitFor(1));

    std::thread server([this] {
        for (std::uint32_t id = 1; id <= 1000; ++id) {
            queue.append(record(id));
        }
    });
    server.join();
    EXPECT_EQ(queue.size(), 1000u);
    EXPECT_EQ(host.shown().size(), 1u);

    host.closeAtOnce();
    host.shown()[0].gone->signal();
    ASSERT_TRUE(host.waitFor(1001));
    const std::vector<Shown> shown = host.shown();
    for (std::uint32_t i = 0; i < shown.size(); ++i) {
        ASSERT_EQ(shown[i].event, EventId{i});
    }
    EXPECT_EQ(queue.size(), 0u);
}

TEST_F(PopupQueueTest, SettingsAreReadAfreshForEachRecord) {
    PopupSettings settings = popupsFor({"Debug"});
    settings.popupSound = "alert.aiff";
    settings.popupPlayArray = {"Debug"};
    host.setSettings(settings);
    queue.start();
    for (std::uint32_t id = 0; id < 3; ++id) {
        queue.append(record(id));
    }
    ASSERT_TRUE(host.waitFor(1, 1));

    // The sound is switched off and the popups lengthened while records wait.
    settings.popupSound.clear();
    settings.popupEvents = 9;
    host.setSettings(settings);
    host.closeAtOnce();
    host.shown()[0].gone->signal();
    ASSERT_TRUE(host.waitFor(3));
    EXPECT_EQ(host.sounds().size(), 1u);
    EXPECT_EQ(host.shown()[1].popupTime, 9);
    EXPECT_EQ(host.shown()[2].popupTime, 9);
}

TEST_F(PopupQueueTest, StopEndsTheThreadWhileAPopupIsOnScreen) {
    host.setSettings(popupsFor({"Debug"}));
    queue.start();
    queue.append(record(0));
    queue.append(record(1));
    ASSERT_TRUE(host.waitFor(1));

    queue.stop();
    EXPECT_EQ(host.shown().size(), 1u);
    EXPECT_EQ(queue.size(), 1u);
}

TEST(PopupQueue, PauseEndsAtOnceOnStop) {
    VirtualClock clock;
    RecordingHost host(clock);
    // The queue's own pause, made a minute long: stop must not wait it out.
    PopupQueue queue(host, [](std::chrono::milliseconds, std::stop_token stop) {
        PopupQueue::sleepUnlessStopped(60s, std::move(stop));
    });
    queue.start();
    const auto before = std::chrono::steady_clock::now();
    queue.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 30s);
}

} // namespace
} // namespace velmora
