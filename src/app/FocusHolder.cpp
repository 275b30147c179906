#include "app/FocusHolder.h"

#include <QLineEdit>

namespace velmora {

void makeFocusHolder(QLineEdit& holder) {
    holder.setFrame(false);
    holder.setReadOnly(true);
    holder.setFixedSize(0, 0);
    holder.setFocusPolicy(Qt::ClickFocus);
    holder.setAttribute(Qt::WA_MacShowFocusRect, false);
}

} // namespace velmora
