#include "actions/ActionCommand.h"

#include <QAbstractButton>
#include <QShowEvent>

namespace velmora {

ActionCommand::ActionCommand(Dictionary& command, QAbstractButton& checkBox, QWidget* parent)
    : QDialog(parent)
    , m_command(command)
    , m_checkBox(checkBox) {}

void ActionCommand::onCancel() {
    reject();
}

void ActionCommand::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) {
        // The sheet keeps the size it was laid out at; the user cannot stretch it.
        setFixedSize(size());
    }
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ActionCommand::done(int result) {
    m_checkBox.setChecked(!m_command.empty());
    QDialog::done(result);
}

} // namespace velmora
