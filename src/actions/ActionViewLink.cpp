#include "actions/ActionViewLink.h"

namespace velmora {

ActionViewLink::ActionViewLink(QWidget* parent)
    : QPushButton(parent) {
    setCursor(Qt::PointingHandCursor);
}

void ActionViewLink::showAsLink() {
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
    QPalette linkColour = palette();
    linkColour.setColor(QPalette::ButtonText, linkColour.color(QPalette::Link));
    setPalette(linkColour);
}

QSize ActionViewLink::sizeHint() const {
    constexpr int kMargin = 8;
    return {fontMetrics().horizontalAdvance(text()) + kMargin, QPushButton::sizeHint().height()};
}

QSize ActionViewLink::minimumSizeHint() const {
    return sizeHint();
}

} // namespace velmora
