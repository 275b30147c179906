#pragma once

#include <QLabel>

namespace velmora {

// A text that shows the pointing-hand cursor over its whole area and is clicked like a link;
// otherwise it draws as an ordinary label.
class ToolsViewLink : public QLabel {
    Q_OBJECT

public:
    explicit ToolsViewLink(QWidget* parent = nullptr);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
};

} // namespace velmora
