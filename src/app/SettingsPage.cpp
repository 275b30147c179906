#include "app/SettingsPage.h"

namespace velmora {

SettingsPage::SettingsPage(AppDelegate& delegate, QWidget* parent)
    : QWidget(parent)
    , m_delegate(delegate) {}

void SettingsPage::onCancel() {
    emit returnRequested(m_parentTab);
}

} // namespace velmora
