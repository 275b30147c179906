#pragma once

#include <chrono>
#include <cstdint>

#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;

namespace velmora {

class ProgressSheet;

// Work of the events page that can take long: a deletion or an export over millions of events.
//
// It runs in steps. The first steps run at once, inside the button's action, for up to the
// progress delay (half a second): short work is over before the action returns, as the page's
// buttons have always behaved. Work that takes longer opens a progress sheet over the window and
// goes on in short slices from the event loop, so that the window keeps painting and taking the
// server's events, while the sheet keeps the user from starting other work meanwhile.
//
// The sheet's Cancel stops the work between two slices, as long as the task can still leave
// everything as it was (see cancel()).
class PageTask : public QObject {
    Q_OBJECT

public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kDefaultProgressDelay{500};

    PageTask(QWidget* page, QString label, std::chrono::milliseconds progressDelay);
    ~PageTask() override;

    // Runs the first steps; the rest, if any, follows from the event loop.
    void start();
    bool isFinished() const { return m_finished; }
    // Whether it ended by a Cancel.
    bool wasCancelled() const { return m_cancelled; }

signals:
    void finished();

protected:
    enum class Step { More, Done };

    // Does some of the work, returning soon after the deadline when there is more; a step always
    // makes some progress, even when called past its deadline.
    virtual Step step(Clock::time_point deadline) = 0;
    // Undoes what the steps so far did and returns true, or returns false when it cannot.
    virtual bool cancel() = 0;
    void setProgress(std::uint64_t done, std::uint64_t total);
    // A task past the point of no return turns the sheet's Cancel off.
    void setCancellable(bool cancellable);

private:
    static constexpr std::chrono::milliseconds kSlice{30};

    QWidget* m_page;
    QString m_label;
    std::chrono::milliseconds m_progressDelay;
    Clock::time_point m_startedAt;
    QPointer<ProgressSheet> m_sheet;
    bool m_finished = false;
    bool m_cancellable = true;
    bool m_cancelRequested = false;
    bool m_cancelled = false;

    void run();
    void openSheet();
    void finish();
};

} // namespace velmora
