#include "actions/ToolsViewActions.h"

#include "ui_ToolsViewActions.h"

namespace velmora {

ToolsViewActions::ToolsViewActions(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewActions>()) {
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewActions::onCancel);
}

ToolsViewActions::~ToolsViewActions() = default;

} // namespace velmora
