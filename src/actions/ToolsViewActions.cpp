#include "actions/ToolsViewActions.h"

#include "ui_ToolsViewActions.h"

namespace velmora {

ToolsViewActions::ToolsViewActions(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ToolsViewActions>()) {
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewActions::onCancel);
}

ToolsViewActions::~ToolsViewActions() = default;

void ToolsViewActions::onCancel() {
    emit returnRequested(m_parentTab);
}

} // namespace velmora
