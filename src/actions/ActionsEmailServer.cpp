#include "actions/ActionsEmailServer.h"

#include <array>
#include <optional>
#include <utility>

#include <QShowEvent>
#include <QSignalBlocker>

#include "actions/ComboSelection.h"
#include "app/AppDelegate.h"
#include "app/FocusHolder.h"
#include "app/Logging.h"
#include "core/settings/SettingsSchema.h"
#include "ui_ActionsEmailServer.h"

namespace velmora {

namespace {

constexpr const char* kPort = "actionsEmailPort";
constexpr const char* kTimeout = "actionsEmailTimeout";
constexpr const char* kSecurity = "actionsEmailSecurity";

struct TextSetting {
    QLineEdit* field;
    const char* key;
};

std::array<TextSetting, 4> textSettings(Ui::ActionsEmailServer& ui) {
    return {{{ui.serverName, "actionsEmailServer"},
             {ui.serverSender, "actionsEmailSender"},
             {ui.serverUsername, "actionsEmailUsername"},
             {ui.serverPassword, "actionsEmailPassword"}}};
}

Value setting(const std::optional<Dictionary>& settings, const char* key) {
    return readSetting(settings, *findSettingKey(key));
}

// A number field's value as the settings store it: its leading whole number, 0 without one.
std::int64_t integerOf(const QLineEdit& field) {
    return Value(field.text().toStdString()).toInteger();
}

} // namespace

ActionsEmailServer::ActionsEmailServer(AppDelegate& delegate, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ActionsEmailServer>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->serverBlank);
    connect(m_ui->timeoutSlider, &QSlider::valueChanged, this, &ActionsEmailServer::timeoutChanged);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionsEmailServer::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionsEmailServer::onCancel);
}

ActionsEmailServer::~ActionsEmailServer() = default;

void ActionsEmailServer::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ActionsEmailServer::viewWillAppear() {
    const std::optional<Dictionary> stored = m_delegate.settingsStore().readDictionary();
    m_settings = stored.value_or(Dictionary());
    // The schema reads a stored port of 0 as 25 and a time-out of 0 as 1.
    const std::int64_t timeout = setting(stored, kTimeout).toInteger();
    m_ui->serverPort->setText(QString::number(setting(stored, kPort).toInteger()));
    m_ui->serverTimeout->setText(QString::number(timeout));
    {
        // A time-out beyond the slider's range stays in the field as stored.
        const QSignalBlocker quiet(m_ui->timeoutSlider);
        m_ui->timeoutSlider->setValue(static_cast<int>(std::clamp<std::int64_t>(
            timeout, m_ui->timeoutSlider->minimum(), m_ui->timeoutSlider->maximum())));
    }
    for (const TextSetting& text : textSettings(*m_ui)) {
        text.field->setText(QString::fromStdString(*setting(stored, text.key).asString()));
    }
    const QString security = QString::fromStdString(*setting(stored, kSecurity).asString());
    if (security.isEmpty()) {
        m_ui->serverSecurity->setCurrentIndex(0);
    } else {
        selectStoredText(*m_ui->serverSecurity, security);
    }
    m_ui->serverBlank->setFocus();
}

void ActionsEmailServer::timeoutChanged(int minutes) {
    m_ui->serverTimeout->setText(QString::number(minutes));
}

void ActionsEmailServer::onSave() {
    // No field is checked: what was typed is stored, and the server decides what it means.
    m_settings.set(kPort, integerOf(*m_ui->serverPort));
    m_settings.set(kTimeout, integerOf(*m_ui->serverTimeout));
    for (const TextSetting& text : textSettings(*m_ui)) {
        m_settings.set(text.key, text.field->text().toStdString());
    }
    m_settings.set(kSecurity, m_ui->serverSecurity->currentText().toStdString());
    if (const Status saved = m_delegate.settingsStore().saveDictionary(m_settings); !saved) {
        qCInfo(lcApp) << "e-mail server not saved:" << saved.error().message.c_str();
    }
    accept();
}

void ActionsEmailServer::onCancel() {
    reject();
}

} // namespace velmora
