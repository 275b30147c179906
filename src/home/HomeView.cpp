#include "home/HomeView.h"

#include "ui_HomeView.h"

namespace velmora {

HomeView::HomeView(AppDelegate& delegate, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::HomeView>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
}

HomeView::~HomeView() = default;

void HomeView::setEventsStatus() {
    // The dashboard's counts are not laid out yet; the window already calls this for every new
    // event while the page shows, so that the dashboard only has to fill it in.
}

} // namespace velmora
