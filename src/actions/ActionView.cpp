#include "actions/ActionView.h"

#include <utility>

#include <QShowEvent>

#include "actions/ActionCommandEmail.h"
#include "actions/ActionCommandEvent.h"
#include "actions/ActionCommandRun.h"
#include "actions/ActionRecord.h"
#include "actions/ComboSelection.h"
#include "app/FocusHolder.h"
#include "app/PriorityItems.h"
#include "tools/FilterRecord.h"
#include "ui_ActionView.h"

namespace velmora {

namespace {

QString text(const Dictionary& action, std::string_view key) {
    return QString::fromStdString(action.string(key));
}

QString text(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

std::string field(const QString& s) {
    return s.toStdString();
}

} // namespace

ActionView::ActionView(std::optional<Dictionary> editing, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ActionView>())
    , m_editing(std::move(editing)) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->actionBlank);
    fillFacilityItems(*m_ui->actionFacility);
    fillSeverityItems(*m_ui->actionSeverity);
    for (ActionViewLink* link :
         {m_ui->actionRunText, m_ui->actionEmailText, m_ui->actionEventText}) {
        link->showAsLink();
    }
    connect(m_ui->anyHost, &QPushButton::clicked, this, &ActionView::anyHost);
    connect(m_ui->anyFacility, &QPushButton::clicked, this, &ActionView::anyFacility);
    connect(m_ui->anySeverity, &QPushButton::clicked, this, &ActionView::anySeverity);
    connect(m_ui->anyMessage, &QPushButton::clicked, this, &ActionView::anyMessage);
    for (const Command command : {Command::Run, Command::Email, Command::Event}) {
        connectCommand(command);
    }
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionView::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionView::onCancel);
}

ActionView::~ActionView() = default;

void ActionView::connectCommand(Command command) {
    connect(&checkBox(command), &QCheckBox::clicked, this,
            [this, command] { commandSwitched(command); });
    ActionViewLink* link = command == Command::Run     ? m_ui->actionRunText
                           : command == Command::Email ? m_ui->actionEmailText
                                                       : m_ui->actionEventText;
    connect(link, &QPushButton::clicked, this, [this, command] { openCommand(command); });
}

void ActionView::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ActionView::viewWillAppear() {
    if (m_editing) {
        showAction(*m_editing);
    } else {
        showNewAction();
    }
    for (const Command command : {Command::Run, Command::Email, Command::Event}) {
        checkBox(command).setChecked(!subRecord(command).empty());
    }
    m_ui->actionBlank->setFocus();
}

void ActionView::showNewAction() {
    m_runCommand.clear();
    m_sendEmail.clear();
    m_setEvent.clear();
    m_ui->actionName->setText(tr("New Action"));
    anyHost();
    anyMessage();
    anyFacility();
    anySeverity();
}

void ActionView::showAction(const Dictionary& action) {
    m_ui->actionName->setEnabled(false);
    m_ui->actionName->setText(text(action, filter_record::kName));
    m_ui->actionIP->setText(text(action, filter_record::kIP));
    m_ui->actionMessage->setText(text(action, filter_record::kMessage));
    m_ui->actionMask->setText(QString::number(filter_record::maskNumber(action)));
    selectStoredText(*m_ui->actionFacility, text(action, filter_record::kFacility));
    selectStoredText(*m_ui->actionSeverity, text(action, filter_record::kSeverity));
    m_runCommand = action.dictionary(action_record::kRunCommand);
    m_sendEmail = action.dictionary(action_record::kSendEmail);
    m_setEvent = action.dictionary(action_record::kSetEvent);
}

Dictionary& ActionView::subRecord(Command command) {
    switch (command) {
    case Command::Run:
        return m_runCommand;
    case Command::Email:
        return m_sendEmail;
    case Command::Event:
        break;
    }
    return m_setEvent;
}

QCheckBox& ActionView::checkBox(Command command) {
    switch (command) {
    case Command::Run:
        return *m_ui->actionRun;
    case Command::Email:
        return *m_ui->actionEmail;
    case Command::Event:
        break;
    }
    return *m_ui->actionEvent;
}

void ActionView::anyHost() {
    m_ui->actionIP->setText(text(filter_record::kAnyIP));
    m_ui->actionMask->setText(text(filter_record::kAnyMask));
}

void ActionView::anyFacility() {
    m_ui->actionFacility->setCurrentIndex(0);
}

void ActionView::anySeverity() {
    m_ui->actionSeverity->setCurrentIndex(0);
}

void ActionView::anyMessage() {
    m_ui->actionMessage->setText(text(filter_record::kAnyMessage));
}

void ActionView::commandSwitched(Command command) {
    if (checkBox(command).isChecked()) {
        // The command's sheet decides: when it closes, the box shows whether anything is stored.
        openCommand(command);
    } else {
        subRecord(command).clear();
    }
}

void ActionView::openCommand(Command command) {
    QDialog* sheet = nullptr;
    switch (command) {
    case Command::Run:
        sheet = new ActionCommandRun(m_runCommand, *m_ui->actionRun, this);
        break;
    case Command::Email:
        sheet = new ActionCommandEmail(m_sendEmail, *m_ui->actionEmail, this);
        break;
    case Command::Event:
        sheet = new ActionCommandEvent(m_setEvent, *m_ui->actionEvent, this);
        break;
    }
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

void ActionView::onSave() {
    Dictionary action;
    action.set(std::string(filter_record::kName), field(m_ui->actionName->text()));
    action.set(std::string(filter_record::kIP), field(m_ui->actionIP->text()));
    action.set(std::string(filter_record::kMessage), field(m_ui->actionMessage->text()));
    action.set(std::string(filter_record::kMask), field(m_ui->actionMask->text()));
    action.set(std::string(filter_record::kFacility), field(m_ui->actionFacility->currentText()));
    action.set(std::string(filter_record::kSeverity), field(m_ui->actionSeverity->currentText()));
    action.set(std::string(action_record::kRunCommand), m_runCommand);
    action.set(std::string(action_record::kSendEmail), m_sendEmail);
    action.set(std::string(action_record::kSetEvent), m_setEvent);
    emit actionSaved(action);
    accept();
}

void ActionView::onCancel() {
    reject();
}

} // namespace velmora
