#include "actions/ActionCommandRun.h"

#include <QTextCursor>

#include "actions/PlainTextLines.h"
#include "app/FileDialogs.h"
#include "app/FocusHolder.h"
#include "ui_ActionCommandRun.h"

namespace velmora {

namespace {

constexpr std::string_view kCommand = "Command";
constexpr std::string_view kArguments = "Arguments";
constexpr std::string_view kEnvironment = "Environment";

} // namespace

ActionCommandRun::ActionCommandRun(Dictionary& runCommand, QAbstractButton& checkBox,
                                   QWidget* parent)
    : ActionCommand(runCommand, checkBox, parent)
    , m_ui(std::make_unique<Ui::ActionCommandRun>()) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->taskBlank);
    connect(m_ui->browseButton, &QPushButton::clicked, this, &ActionCommandRun::browseCommand);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionCommandRun::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionCommandRun::onCancel);
}

ActionCommandRun::~ActionCommandRun() = default;

void ActionCommandRun::viewWillAppear() {
    const Dictionary& stored = command();
    if (stored.contains(kCommand)) {
        m_ui->taskCommand->setText(QString::fromStdString(stored.string(kCommand)));
    }
    if (stored.contains(kArguments)) {
        m_ui->taskArguments->setText(QString::fromStdString(stored.string(kArguments)));
    }
    if (stored.contains(kEnvironment)) {
        const QString environment = QString::fromStdString(stored.string(kEnvironment));
        m_ui->taskEnvironment->setPlainText(environment);
        m_environmentLineEnd = lineEndOf(environment, m_environmentLineEnd);
    }
    m_ui->taskEnvironment->moveCursor(QTextCursor::Start);
    m_ui->taskBlank->setFocus();
}

void ActionCommandRun::browseCommand() {
    if (const std::optional<QString> path = chooseFileToOpen(
            this, tr("Please select command file path:"), {}, QStringLiteral("/usr/bin"))) {
        m_ui->taskCommand->setText(*path);
    }
}

void ActionCommandRun::onSave() {
    Dictionary& stored = command();
    if (m_ui->taskCommand->text().isEmpty()) {
        stored.clear();
    } else {
        stored.set(std::string(kCommand), m_ui->taskCommand->text().toStdString());
        stored.set(std::string(kArguments), m_ui->taskArguments->text().toStdString());
        stored.set(std::string(kEnvironment),
                   textWithLineEnds(*m_ui->taskEnvironment, m_environmentLineEnd).toStdString());
    }
    onCancel();
}

} // namespace velmora
