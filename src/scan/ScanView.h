#pragma once

#include <memory>

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

class EventTableModel;
struct RuntimeSettings;

// Page 1: every event of the list in one table, newest on top, with its severity image and its
// date in the user's format, and links to the Actions and Options pages.
//
// Rows that entered while the page was hidden stay as received until the page appears; each
// appearance brings every row's date and image up to the delegate's current formats and levels.
class ScanView : public QWidget {
    Q_OBJECT

public:
    ScanView(EventStore& store, const RuntimeSettings& runtime, QWidget* parent = nullptr);
    ~ScanView() override;

    // The table's model (arrController): the window inserts through it while the page is hidden.
    EventTableModel& model() const { return *m_model; }
    QTableView& tableView() const;

    // insertEvent: a new event decorated at once and put at the top; drops the user's selection.
    EventId insertEvent(const EventFields& fields, Dictionary extras);
    // removeEvent: removes the first row (the newest) whose date is the record's time stamp in
    // the current format and whose priority, host and message equal the record's.
    void removeEvent(const EventFields& record);

    // Each time the page is shown.
    void viewWillAppear();

public slots:
    // syslogActions:, syslogOptions:
    void syslogActions();
    void syslogOptions();
    // doubleClickTable:
    void doubleClickTable(const QModelIndex& index);

signals:
    // Asks the main window to open a settings page that returns to `parentTab`.
    void settingsPageRequested(velmora::Page page, velmora::Page parentTab);

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::ScanView> m_ui;
    const RuntimeSettings& m_runtime;
    EventTableModel* m_model;

    void setUpTable();
    void setUpLinks();
};

} // namespace velmora
