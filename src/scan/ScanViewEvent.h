#pragma once

#include <memory>

#include <QDialog>

#include "core/eventlog/EventStore.h"

namespace Ui {
class ScanViewEvent;
}

namespace velmora {

// The sheet that shows one event in full, opened by a double click on its row.
class ScanViewEvent : public QDialog {
    Q_OBJECT

public:
    ScanViewEvent(EventId event, QWidget* parent = nullptr);
    ~ScanViewEvent() override;

    // The event shown (the record handed over as `dict`).
    EventId eventId() const { return m_event; }

    // hideButtons: set by an opener that has no table to step through (a popup).
    void setHideButtons(bool hide) { m_hideButtons = hide; }
    bool hideButtons() const { return m_hideButtons; }

private:
    std::unique_ptr<Ui::ScanViewEvent> m_ui;
    EventId m_event;
    bool m_hideButtons = false;
};

} // namespace velmora
