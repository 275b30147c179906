#include "popup/PopupViewTitle.h"

#include <QPainter>

namespace velmora {

namespace {

constexpr int kTitleHeight = 16;
constexpr int kTitleIndent = 8;
constexpr int kTitlePointSize = 13;

} // namespace

PopupViewTitle::PopupViewTitle(QWidget* parent)
    : QWidget(parent) {
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
}

void PopupViewTitle::setLevel(std::optional<Level> level) {
    m_level = level;
    update();
}

QColor PopupViewTitle::barColour(std::optional<Level> level) {
    if (!level) {
        return Qt::black;
    }
    switch (*level) {
    case Level::Normal:
        return QColor::fromRgbF(0.31f, 0.75f, 0.15f);
    case Level::Moderate:
        return QColor::fromRgbF(1.0f, 0.8f, 0.0f);
    case Level::Severe:
        return QColor::fromRgbF(0.8f, 0.0f, 0.0f);
    }
    return Qt::black;
}

void PopupViewTitle::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), kBarHeight), barColour(m_level));
    QFont title = font();
    title.setPointSize(kTitlePointSize);
    painter.setFont(title);
    painter.setPen(Qt::white);
    // The title's box starts 8 points in but is as wide as the bar, as it always was.
    painter.drawText(QRect(kTitleIndent, 0, width(), kTitleHeight), Qt::AlignHCenter | Qt::AlignTop,
                     tr("Velmora Alert"));
}

} // namespace velmora
