#include "actions/ActionsEmailFormat.h"

#include <optional>

#include <QFontDatabase>
#include <QShowEvent>
#include <QTextCursor>

#include "actions/PlainTextLines.h"
#include "app/AppDelegate.h"
#include "app/FocusHolder.h"
#include "app/Logging.h"
#include "core/settings/SettingsSchema.h"
#include "ui_ActionsEmailFormat.h"

namespace velmora {

namespace {

constexpr const char* kSubject = "actionsFormatSubject";
constexpr const char* kBody = "actionsFormatBody";

// With no settings file the default templates; with one, what it holds (a missing template
// is empty and goes unsent).
QString storedTemplate(const std::optional<Dictionary>& settings, const char* key) {
    return QString::fromStdString(*readSetting(settings, *findSettingKey(key)).asString());
}

} // namespace

ActionsEmailFormat::ActionsEmailFormat(AppDelegate& delegate, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ActionsEmailFormat>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->textBlank);
    QFont bodyFont = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    bodyFont.setPointSize(11);
    m_ui->textBody->setFont(bodyFont);
    connect(m_ui->sendSubject, &QCheckBox::clicked, this, &ActionsEmailFormat::sendSubject);
    connect(m_ui->sendBody, &QCheckBox::clicked, this, &ActionsEmailFormat::sendBody);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionsEmailFormat::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionsEmailFormat::onCancel);
}

ActionsEmailFormat::~ActionsEmailFormat() = default;

void ActionsEmailFormat::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ActionsEmailFormat::viewWillAppear() {
    const std::optional<Dictionary> stored = m_delegate.settingsStore().readDictionary();
    m_settings = stored.value_or(Dictionary());
    const QString subject = storedTemplate(stored, kSubject);
    const QString body = storedTemplate(stored, kBody);
    m_ui->textSubject->setText(subject);
    m_ui->textBody->setPlainText(body);
    // Mail wants CR LF, which the default body has.
    m_bodyLineEnd = lineEndOf(body, QStringLiteral("\r\n"));
    m_ui->textBody->moveCursor(QTextCursor::Start);
    m_ui->sendSubject->setChecked(!subject.isEmpty());
    m_ui->sendBody->setChecked(!body.isEmpty());
    sendSubject();
    sendBody();
    m_ui->textBlank->setFocus();
}

void ActionsEmailFormat::sendSubject() {
    const bool send = m_ui->sendSubject->isChecked();
    m_ui->textSubject->setEnabled(send);
    if (send) {
        m_ui->textSubject->setFocus();
    } else {
        m_ui->textSubject->clear();
    }
}

void ActionsEmailFormat::sendBody() {
    const bool send = m_ui->sendBody->isChecked();
    m_ui->textBody->setReadOnly(!send);
    if (send) {
        m_ui->textBody->setFocus();
    } else {
        m_ui->textBody->clear();
    }
}

void ActionsEmailFormat::onSave() {
    m_settings.set(kSubject, m_ui->textSubject->text().toStdString());
    m_settings.set(kBody, textWithLineEnds(*m_ui->textBody, m_bodyLineEnd).toStdString());
    if (const Status saved = m_delegate.settingsStore().saveDictionary(m_settings); !saved) {
        qCInfo(lcApp) << "e-mail format not saved:" << saved.error().message.c_str();
    }
    accept();
}

void ActionsEmailFormat::onCancel() {
    reject();
}

} // namespace velmora
