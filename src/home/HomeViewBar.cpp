#include "home/HomeViewBar.h"

#include <QLinearGradient>
#include <QPainter>

namespace velmora {

HomeViewBar::HomeViewBar(QWidget* parent)
    : QWidget(parent) {}

void HomeViewBar::setStartColor(const QColor& color) {
    if (m_startColor != color) {
        m_startColor = color;
        update();
    }
}

void HomeViewBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    QLinearGradient gradient(rect().topLeft(), rect().topRight());
    gradient.setColorAt(0.0, m_startColor);
    gradient.setColorAt(1.0, Qt::white);
    painter.fillRect(rect(), gradient);
}

} // namespace velmora
