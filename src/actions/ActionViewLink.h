#pragma once

#include <QPushButton>

namespace velmora {

// The link-style button of the action editors: a plain button, drawn as the standard one, that
// shows the pointing hand over its whole area.
class ActionViewLink : public QPushButton {
    Q_OBJECT

public:
    explicit ActionViewLink(QWidget* parent = nullptr);

    // Draws the title, kept as it is, underlined and in the palette's link colour, in the
    // button's present font.
    void showAsLink();

    // As wide as its title, like a link, not as wide as the style's smallest push button.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};

} // namespace velmora
