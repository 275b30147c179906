#include "tools/ToolsViewExport.h"

#include "ui_ToolsViewExport.h"

namespace velmora {

ToolsViewExport::ToolsViewExport(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ToolsViewExport>()) {
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewExport::onCancel);
}

ToolsViewExport::~ToolsViewExport() = default;

void ToolsViewExport::onCancel() {
    emit returnRequested(m_parentTab);
}

} // namespace velmora
