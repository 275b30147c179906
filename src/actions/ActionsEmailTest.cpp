#include "actions/ActionsEmailTest.h"

#include <chrono>
#include <string>
#include <vector>

#include <QShowEvent>

#include "actions/RecipientList.h"
#include "app/Alert.h"
#include "app/AppDelegate.h"
#include "app/FocusHolder.h"
#include "app/Logging.h"
#include "core/settings/EmailTestRequest.h"
#include "ui_ActionsEmailTest.h"

namespace velmora {

ActionsEmailTest::ActionsEmailTest(AppDelegate& delegate, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ActionsEmailTest>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->recipientBlank);
    m_recipients =
        new RecipientList({*m_ui->recipientEmail, *m_ui->addRecipient, *m_ui->removeRecipient,
                           *m_ui->recipientsTable, *m_ui->recipientBlank},
                          this);
    connect(m_ui->sendButton, &QPushButton::clicked, this, &ActionsEmailTest::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionsEmailTest::onCancel);
}

ActionsEmailTest::~ActionsEmailTest() = default;

void ActionsEmailTest::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        m_recipients->appear();
    }
}

void ActionsEmailTest::onSave() {
    const QStringList addresses = m_recipients->recipients();
    if (addresses.isEmpty()) {
        showAlert(this, tr("No recipients selected"), tr("Please add recipients and try again."));
        return;
    }
    std::vector<std::string> recipients;
    for (const QString& address : addresses) {
        recipients.push_back(address.toStdString());
    }
    const EmailTestRequest request(
        std::move(recipients), m_delegate.settingsStore().readDictionary(),
        m_delegate.runtime().newDateFormat, std::chrono::system_clock::now());
    if (const Status sent = m_delegate.setPipe(request.archive()); !sent) {
        qCInfo(lcApp) << "test e-mail request not written:" << sent.error().message.c_str();
    }
    accept();
}

void ActionsEmailTest::onCancel() {
    reject();
}

} // namespace velmora
