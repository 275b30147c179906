#pragma once

#include <QWidget>

namespace velmora {

// The blue title bar behind the navigation buttons: a left-to-right gradient over its whole
// area. It has no state and takes no input of its own.
class ViewBar : public QWidget {
    Q_OBJECT

public:
    explicit ViewBar(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace velmora
