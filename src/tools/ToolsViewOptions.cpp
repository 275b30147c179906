#include "tools/ToolsViewOptions.h"

#include "ui_ToolsViewOptions.h"

namespace velmora {

ToolsViewOptions::ToolsViewOptions(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewOptions>()) {
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewOptions::onCancel);
}

ToolsViewOptions::~ToolsViewOptions() = default;

} // namespace velmora
