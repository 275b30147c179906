#pragma once

#include <QColor>
#include <QFrame>

namespace velmora {

// One of the dashboard's two frames around the overall state: a rounded border of the frame's
// line width in a colour the dashboard sets by level. Only the border is drawn; what is inside
// shows through on the page's white.
class HomeViewBox : public QFrame {
    Q_OBJECT

public:
    explicit HomeViewBox(QWidget* parent = nullptr);

    QColor borderColor() const { return m_borderColor; }
    void setBorderColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_borderColor = Qt::lightGray;
};

} // namespace velmora
