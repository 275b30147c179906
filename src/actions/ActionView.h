#pragma once

#include <memory>
#include <optional>

#include <QDialog>

#include "core/archive/Value.h"

class QCheckBox;

namespace Ui {
class ActionView;
}

namespace velmora {

// The sheet in which one automatic action is created or changed: the criteria of a filter
// (host and mask, facility, severity, message) and up to three commands (run a program, send
// e-mail, set an event). The commands' details are edited in their own sheets; this one
// switches them on and off and keeps their sub-records, which reach the Actions page's list
// only when this sheet is saved.
class ActionView : public QDialog {
    Q_OBJECT

public:
    // `editing`: the action to change, or nothing for a new one.
    explicit ActionView(std::optional<Dictionary> editing, QWidget* parent = nullptr);
    ~ActionView() override;

signals:
    // Save: the action as built from the sheet. The Actions page stores it.
    void actionSaved(const velmora::Dictionary& action);

public slots:
    // anyHost:, anyFacility:, anySeverity:, anyMessage:, onSave:, onCancel:
    void anyHost();
    void anyFacility();
    void anySeverity();
    void anyMessage();
    void onSave();
    void onCancel();

protected:
    void showEvent(QShowEvent* event) override;

private:
    enum class Command { Run, Email, Event };

    std::unique_ptr<Ui::ActionView> m_ui;
    std::optional<Dictionary> m_editing;
    Dictionary m_runCommand;
    Dictionary m_sendEmail;
    Dictionary m_setEvent;

    void connectCommand(Command command);
    void viewWillAppear();
    void showNewAction();
    void showAction(const Dictionary& action);
    Dictionary& subRecord(Command command);
    QCheckBox& checkBox(Command command);
    // commandRun:, commandEmail:, commandEvent: (the check boxes)
    void commandSwitched(Command command);
    // commandRunText:, commandEmailText:, commandEventText: (the links)
    void openCommand(Command command);
};

} // namespace velmora
