#include "app/LinkStyle.h"

#include <QLabel>

namespace velmora {

void restyleAsLink(QLabel& label) {
    QFont font = label.font();
    font.setUnderline(true);
    label.setFont(font);
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, palette.color(QPalette::Link));
    label.setPalette(palette);
}

} // namespace velmora
