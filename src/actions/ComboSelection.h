#pragma once

class QComboBox;
class QString;

namespace velmora {

// Shows a stored text in a combo box: selects the first item of exactly that text. A text no
// item has is kept rather than lost: an editable box shows it in its field, a fixed one gets it
// as an extra last item, selected.
void selectStoredText(QComboBox& combo, const QString& text);

} // namespace velmora
