#include "app/ViewBar.h"

#include <QLinearGradient>
#include <QPainter>

namespace velmora {

ViewBar::ViewBar(QWidget* parent)
    : QWidget(parent) {}

void ViewBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    QLinearGradient gradient(rect().topLeft(), rect().topRight());
    gradient.setColorAt(0.0, QColor::fromRgbF(0.0f, 0.4f, 0.8f, 1.0f));
    gradient.setColorAt(1.0, QColor::fromRgbF(0.4f, 0.8f, 1.0f, 1.0f));
    painter.fillRect(rect(), gradient);
}

} // namespace velmora
