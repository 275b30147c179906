#include "tools/ToolsView.h"

#include "app/LinkStyle.h"
#include "ui_ToolsView.h"

namespace velmora {

ToolsView::ToolsView(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ToolsView>()) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    for (ToolsViewLink* link : {m_ui->toolsOptions, m_ui->toolsActions, m_ui->toolsExport}) {
        restyleAsLink(*link);
    }
    connect(m_ui->toolsOptions, &ToolsViewLink::clicked, this, &ToolsView::options);
    connect(m_ui->toolsActions, &ToolsViewLink::clicked, this, &ToolsView::actions);
    connect(m_ui->toolsExport, &ToolsViewLink::clicked, this, &ToolsView::exportSettings);
}

ToolsView::~ToolsView() = default;

void ToolsView::options() {
    emit settingsPageRequested(Page::Options, Page::Tools);
}

void ToolsView::actions() {
    emit settingsPageRequested(Page::Actions, Page::Tools);
}

void ToolsView::exportSettings() {
    emit settingsPageRequested(Page::Export, Page::Tools);
}

} // namespace velmora
