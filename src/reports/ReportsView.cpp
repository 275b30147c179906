#include "reports/ReportsView.h"

#include "ui_ReportsView.h"

namespace velmora {

ReportsView::ReportsView(AppDelegate& delegate, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ReportsView>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
}

ReportsView::~ReportsView() = default;

} // namespace velmora
