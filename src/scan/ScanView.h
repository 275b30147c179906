#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QPointer>
#include <QWidget>

#include "app/Page.h"
#include "core/archive/Value.h"
#include "core/eventlog/EventStore.h"

class QModelIndex;
class QTableView;

namespace Ui {
class ScanView;
}

namespace velmora {

class EventRemovals;
class EventTableModel;
class PageTask;
struct RuntimeSettings;

// Page 1: every event of the list in one table, newest on top, with its severity image and its
// date in the user's format, and links to the Actions and Options pages.
//
// Rows that entered while the page was hidden stay as received until the page appears; each
// appearance brings every row's date and image up to the delegate's current formats and levels.
//
// Delete and Export work on the selected rows, or on all rows when the user asks for all events
// in the alert that says none is selected. Either can take long over millions of events: past
// half a second a progress sheet covers the window while it goes on (see PageTask).
//
// Both read which events they cover at their first step, before any alert or file chooser
// opens: while one is open the server's events keep arriving, each one dropping the selection
// and pushing the rows down, and the server may remove events. The events chosen then are the
// ones deleted or exported, less those that have left the list in the meantime.
class ScanView : public QWidget {
    Q_OBJECT

public:
    ScanView(EventStore& store, const RuntimeSettings& runtime, std::string dataDirectory,
             QWidget* parent = nullptr);
    ~ScanView() override;

    // The table's model (arrController): the window inserts through it while the page is hidden.
    EventTableModel& model() const { return *m_model; }
    QTableView& tableView() const;

    // insertEvent: a new event decorated at once and put at the top; drops the user's selection.
    EventId insertEvent(const EventFields& fields, Dictionary extras);
    // removeEvent: removes the first row (the newest) whose date is the record's time stamp in
    // the current format and whose priority, host and message equal the record's, as the list
    // stands now. It is matched in a slice of the event loop and its row leaves the table with
    // the next batch of changes (see EventRemovals).
    void removeEvent(const EventFields& record);

    // Each time the page is shown.
    void viewWillAppear();

    // How long a deletion or an export runs before the progress sheet shows.
    void setProgressDelay(std::chrono::milliseconds delay) { m_progressDelay = delay; }
    // Where the Test button sends its datagram: the server on this machine unless told otherwise.
    void setTestMessageDestination(std::string address, std::uint16_t port);

public slots:
    // syslogActions:, syslogOptions:
    void syslogActions();
    void syslogOptions();
    // doubleClickTable:
    void doubleClickTable(const QModelIndex& index);
    // deleteEvents:, exportEvents:, testSyslog:
    void deleteEvents();
    void exportEvents();
    void testSyslog();

signals:
    // Asks the main window to open a settings page that returns to `parentTab`.
    void settingsPageRequested(velmora::Page page, velmora::Page parentTab);
    // A deletion has rewritten the log files and lowered the counters; an export has ended
    // (written or not).
    void deletionFinished();
    void exportFinished();

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::ScanView> m_ui;
    const RuntimeSettings& m_runtime;
    std::string m_dataDirectory;
    EventTableModel* m_model;
    EventRemovals* m_removals;
    std::chrono::milliseconds m_progressDelay;
    std::string m_testAddress;
    std::uint16_t m_testPort;
    QPointer<PageTask> m_task; // the deletion or export under way

    void setUpTable();
    void setUpLinks();
    void setUpButtons();
    struct Choice {
        std::vector<EventId> events; // ascending
        bool all;                    // the administrator asked for all events
    };

    // The events of the selected rows, ascending.
    std::vector<EventId> selectedEvents() const;
    // The selected events; with none selected, every event in the list when the administrator
    // takes the alert's offer of all events (check box `allButton`), else nullopt.
    std::optional<Choice> chooseEvents(const QString& allButton);
    void startTask(PageTask* task, void (ScanView::*finished)());
};

} // namespace velmora
