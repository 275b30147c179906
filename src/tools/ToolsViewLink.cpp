#include "tools/ToolsViewLink.h"

#include <QMouseEvent>

namespace velmora {

ToolsViewLink::ToolsViewLink(QWidget* parent)
    : QLabel(parent) {
    setCursor(Qt::PointingHandCursor);
    setTextInteractionFlags(Qt::NoTextInteraction);
}

void ToolsViewLink::mouseReleaseEvent(QMouseEvent* event) {
    QLabel::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        emit clicked();
    }
}

} // namespace velmora
