#pragma once

#include <memory>

#include "actions/ActionCommand.h"

namespace Ui {
class ActionCommandEmail;
}

namespace velmora {

class RecipientList;

// The send-e-mail command of an action: its recipients, stored in table order as "Recipients"
// of the sub-record "sendEmail". Saving an empty list is refused with an alert.
class ActionCommandEmail : public ActionCommand {
    Q_OBJECT

public:
    ActionCommandEmail(Dictionary& sendEmail, QAbstractButton& checkBox, QWidget* parent);
    ~ActionCommandEmail() override;

public slots:
    // onSave:
    void onSave();

protected:
    void viewWillAppear() override;

private:
    std::unique_ptr<Ui::ActionCommandEmail> m_ui;
    RecipientList* m_recipients = nullptr;
};

} // namespace velmora
