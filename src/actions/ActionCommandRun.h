#pragma once

#include <memory>

#include <QString>

#include "actions/ActionCommand.h"

namespace Ui {
class ActionCommandRun;
}

namespace velmora {

// The run-a-program command of an action: the program's path, its arguments and its
// environment, stored as typed in the sub-record "runCommand" ("Command", "Arguments",
// "Environment"). An empty path switches the command off.
class ActionCommandRun : public ActionCommand {
    Q_OBJECT

public:
    ActionCommandRun(Dictionary& runCommand, QAbstractButton& checkBox, QWidget* parent);
    ~ActionCommandRun() override;

public slots:
    // browseCommand:, onSave:
    void browseCommand();
    void onSave();

protected:
    void viewWillAppear() override;

private:
    std::unique_ptr<Ui::ActionCommandRun> m_ui;
    QString m_environmentLineEnd = QStringLiteral("\n");
};

} // namespace velmora
