#include "actions/ActionCommandEmail.h"

#include "actions/RecipientList.h"
#include "app/Alert.h"
#include "app/FocusHolder.h"
#include "ui_ActionCommandEmail.h"

namespace velmora {

namespace {

constexpr std::string_view kRecipients = "Recipients";

} // namespace

ActionCommandEmail::ActionCommandEmail(Dictionary& sendEmail, QAbstractButton& checkBox,
                                       QWidget* parent)
    : ActionCommand(sendEmail, checkBox, parent)
    , m_ui(std::make_unique<Ui::ActionCommandEmail>()) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->recipientBlank);
    m_recipients =
        new RecipientList({*m_ui->recipientEmail, *m_ui->addRecipient, *m_ui->removeRecipient,
                           *m_ui->recipientsTable, *m_ui->recipientBlank},
                          this);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionCommandEmail::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionCommandEmail::onCancel);
}

ActionCommandEmail::~ActionCommandEmail() = default;

void ActionCommandEmail::viewWillAppear() {
    QStringList addresses;
    for (const Value& address : command().array(kRecipients)) {
        if (const std::string* text = address.asString()) {
            addresses << QString::fromStdString(*text);
        }
    }
    m_recipients->setRecipients(addresses);
    m_recipients->appear();
}

void ActionCommandEmail::onSave() {
    const QStringList addresses = m_recipients->recipients();
    if (addresses.isEmpty()) {
        showAlert(this, tr("No recipients selected"), tr("Please add recipients and try again."));
        return;
    }
    Array recipients;
    for (const QString& address : addresses) {
        recipients.emplace_back(address.toStdString());
    }
    command().set(std::string(kRecipients), std::move(recipients));
    onCancel();
}

} // namespace velmora
