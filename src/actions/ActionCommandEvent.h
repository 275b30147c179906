#pragma once

#include <memory>

#include <QString>

#include "actions/ActionCommand.h"

namespace Ui {
class ActionCommandEvent;
}

namespace velmora {

// The set-an-event command of an action: the new event's priority text and its text format,
// stored as "Type" and "Format" of the sub-record "setEvent". An empty format switches the
// command off.
class ActionCommandEvent : public ActionCommand {
    Q_OBJECT

public:
    ActionCommandEvent(Dictionary& setEvent, QAbstractButton& checkBox, QWidget* parent);
    ~ActionCommandEvent() override;

public slots:
    // onSave:
    void onSave();

protected:
    void viewWillAppear() override;

private:
    std::unique_ptr<Ui::ActionCommandEvent> m_ui;
    QString m_formatLineEnd = QStringLiteral("\n");
};

} // namespace velmora
