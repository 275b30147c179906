#include "actions/ComboSelection.h"

#include <QComboBox>

namespace velmora {

void selectStoredText(QComboBox& combo, const QString& text) {
    int index = combo.findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index < 0 && combo.isEditable()) {
        combo.setCurrentIndex(-1);
        combo.setEditText(text);
        return;
    }
    if (index < 0) {
        combo.addItem(text);
        index = combo.count() - 1;
    }
    combo.setCurrentIndex(index);
}

} // namespace velmora
