#pragma once

#include <optional>

#include <QWidget>

#include "core/presentation/Severity.h"

namespace velmora {

// The popup's background: white, with the title bar "Velmora Alert" across its top in the colour
// of the event's level (green, amber or red). It covers the whole popup as it grows and
// shrinks, so the bar stays at the popup's top edge.
class PopupViewTitle : public QWidget {
    Q_OBJECT

public:
    static constexpr int kBarHeight = 22;

    explicit PopupViewTitle(QWidget* parent = nullptr);

    // nullopt: a level outside 0 to 2, drawn in the painter's default colour.
    void setLevel(std::optional<Level> level);
    static QColor barColour(std::optional<Level> level);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<Level> m_level;
};

} // namespace velmora
