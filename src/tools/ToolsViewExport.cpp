#include "tools/ToolsViewExport.h"

#include "ui_ToolsViewExport.h"

namespace velmora {

ToolsViewExport::ToolsViewExport(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewExport>()) {
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewExport::onCancel);
}

ToolsViewExport::~ToolsViewExport() = default;

} // namespace velmora
