#include "actions/ActionCommandEvent.h"

#include <QTextCursor>

#include "actions/ComboSelection.h"
#include "actions/PlainTextLines.h"
#include "app/FocusHolder.h"
#include "core/presentation/PriorityNames.h"
#include "ui_ActionCommandEvent.h"

namespace velmora {

namespace {

constexpr std::string_view kType = "Type";
constexpr std::string_view kFormat = "Format";

// Every priority text the server writes, by syslog priority number: "Kern.Emergency" first,
// "Local7.Debug" last.
void fillPriorityItems(QComboBox& combo) {
    for (int priority = 0;; ++priority) {
        const std::optional<std::string> text = priorityText(priority);
        if (!text) {
            break;
        }
        combo.addItem(QString::fromStdString(*text));
    }
}

} // namespace

ActionCommandEvent::ActionCommandEvent(Dictionary& setEvent, QAbstractButton& checkBox,
                                       QWidget* parent)
    : ActionCommand(setEvent, checkBox, parent)
    , m_ui(std::make_unique<Ui::ActionCommandEvent>()) {
    m_ui->setupUi(this);
    makeFocusHolder(*m_ui->eventBlank);
    fillPriorityItems(*m_ui->eventType);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ActionCommandEvent::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ActionCommandEvent::onCancel);
}

ActionCommandEvent::~ActionCommandEvent() = default;

void ActionCommandEvent::viewWillAppear() {
    const Dictionary& stored = command();
    if (stored.contains(kType)) {
        selectStoredText(*m_ui->eventType, QString::fromStdString(stored.string(kType)));
    } else {
        m_ui->eventType->setCurrentIndex(0);
    }
    if (stored.contains(kFormat)) {
        const QString format = QString::fromStdString(stored.string(kFormat));
        m_ui->eventFormat->setPlainText(format);
        m_formatLineEnd = lineEndOf(format, m_formatLineEnd);
    }
    m_ui->eventFormat->moveCursor(QTextCursor::Start);
    m_ui->eventBlank->setFocus();
}

void ActionCommandEvent::onSave() {
    Dictionary& stored = command();
    const QString format = textWithLineEnds(*m_ui->eventFormat, m_formatLineEnd);
    if (format.isEmpty()) {
        stored.clear();
    } else {
        stored.set(std::string(kType), m_ui->eventType->currentText().toStdString());
        stored.set(std::string(kFormat), format.toStdString());
    }
    onCancel();
}

} // namespace velmora
