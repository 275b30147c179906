#pragma once

#include <array>
#include <memory>
#include <optional>

#include <QWidget>

#include "core/presentation/Severity.h"

class QLabel;

namespace Ui {
class HomeView;
}

namespace velmora {

class AppDelegate;

// Page 0, the dashboard: counts by severity, the overall state, and the status of server,
// actions and export. Everything is read afresh each time the page is shown; the counts and
// the overall state also follow every new event while the page is on screen.
class HomeView : public QWidget {
    Q_OBJECT

public:
    explicit HomeView(AppDelegate& delegate, QWidget* parent = nullptr);
    ~HomeView() override;

    // The overall level, kept between refreshes: a refresh whose levels give no level (3 or
    // more) leaves it as it was.
    Level severityStatus() const { return m_severityStatus; }

    // Recomputes the overall level from the delegate's counters and levels at once; the counts,
    // frames, bar, image and sentence are written when the event loop next turns, once for a
    // whole burst of events. Called for every new event while the page is on screen.
    void setEventsStatus();
    // The status lines, each read afresh: the settings file, the process table.
    void setActionsStatus();
    void setExportStatus();
    void setMonitorStatus();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::HomeView> m_ui;
    AppDelegate& m_delegate;
    Level m_severityStatus = Level::Normal;
    bool m_eventsDisplayPending = false;
    std::optional<Level> m_displayedLevel;          // what the frames, bar, sentence and image show
    std::array<QLabel*, kSeverityCount> m_counts{}; // eventsEmergency ... eventsUnknown

    void fixCountSizes();
    void viewWillAppear();
    void displayPendingEventsStatus();
    void displayEventsStatus();
    void displayLevel(Level level);
};

} // namespace velmora
