#include "home/HomeViewBox.h"

#include <QPainter>
#include <QPen>

namespace velmora {

HomeViewBox::HomeViewBox(QWidget* parent)
    : QFrame(parent) {
    // A box keeps its contents clear of the border by the line width.
    setFrameStyle(QFrame::Box | QFrame::Plain);
}

void HomeViewBox::setBorderColor(const QColor& color) {
    if (color != m_borderColor) {
        m_borderColor = color;
        update();
    }
}

void HomeViewBox::paintEvent(QPaintEvent* /*event*/) {
    const int width = lineWidth();
    if (width <= 0) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(m_borderColor, width));
    painter.setBrush(Qt::NoBrush);
    // The pen is centred on the outline: half a line in from the edge it lies within the widget.
    const qreal inset = width / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), 5, 5);
}

} // namespace velmora
