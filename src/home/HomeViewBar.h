#pragma once

#include <QColor>
#include <QWidget>

namespace velmora {

// The dashboard's bar: a left-to-right gradient over its whole area from the colour of the
// overall level to white. The dashboard sets the colour whenever the level changes.
class HomeViewBar : public QWidget {
    Q_OBJECT

public:
    explicit HomeViewBar(QWidget* parent = nullptr);

    QColor startColor() const { return m_startColor; }
    void setStartColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_startColor = Qt::white;
};

} // namespace velmora
