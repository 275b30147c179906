#pragma once

#include <memory>

#include <QDialog>
#include <QPointer>

#include "core/eventlog/EventStore.h"

class QTableView;

namespace Ui {
class ScanViewEvent;
}

namespace velmora {

// The sheet that shows one event in full: its date as last written, priority, host and the whole
// message. Opened from the events table, its Up and Down buttons step through the table's rows,
// moving the table's selection along. Opened for a single event (from a popup) it has no table
// and hides them. OK and Cancel both close it; it changes nothing.
class ScanViewEvent : public QDialog {
    Q_OBJECT

public:
    // `table`, when given, is the events table the event was opened from: a view over an
    // EventTableModel of `store`, with the event's row selected.
    ScanViewEvent(const EventStore& store, EventId event, QTableView* table = nullptr,
                  QWidget* parent = nullptr);
    ~ScanViewEvent() override;

    // The event shown (the record handed over as `dict`).
    EventId eventId() const { return m_event; }

    // hideButtons: whether the stepping buttons are hidden; always so without a table.
    void setHideButtons(bool hide);
    bool hideButtons() const { return m_hideButtons; }

public slots:
    // onUp:, onDown: select the row above or below in the table and show its event.
    void onUp();
    void onDown();
    // onOK:, onCancel:
    void onOK();
    void onCancel();

private:
    std::unique_ptr<Ui::ScanViewEvent> m_ui;
    const EventStore& m_store;
    EventId m_event;
    QPointer<QTableView> m_table;
    bool m_hideButtons = false;

    void setDetails();
    int selectedRow() const;
    void step(int offset);
};

} // namespace velmora
