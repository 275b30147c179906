#pragma once

#include <QDialog>

#include "core/archive/Value.h"

class QAbstractButton;

namespace velmora {

// The sheet of one of an action's three commands (run a program, send e-mail, set an event).
// It edits its sub-record of the action that the action editor holds open, in place; an empty
// sub-record is the command switched off. However the sheet closes, by Save, Cancel or the
// Escape key, the action editor's check box of the command then shows whether the sub-record
// holds entries: a command switched on and cancelled with nothing stored falls back to off.
class ActionCommand : public QDialog {
    Q_OBJECT

public:
    // onCancel: closes the sheet; what was stored stays.
    void onCancel();

protected:
    // The sub-record and the check box belong to the action editor, the sheet's parent, which
    // outlives the sheet.
    ActionCommand(Dictionary& command, QAbstractButton& checkBox, QWidget* parent);

    Dictionary& command() { return m_command; }

    // What the sheet shows of the sub-record, each time it is shown.
    virtual void viewWillAppear() = 0;

    void showEvent(QShowEvent* event) override;
    void done(int result) override;

private:
    Dictionary& m_command;
    QAbstractButton& m_checkBox;
};

} // namespace velmora
