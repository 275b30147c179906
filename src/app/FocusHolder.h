#pragma once

class QLineEdit;

namespace velmora {

// Pages and sheets open with the keyboard focus on a hidden holder (a field named "...Blank"),
// so that no real field starts selected. Qt gives no focus to a hidden widget, so the holder is
// a frameless, read-only field of no size that is never tabbed to.
void makeFocusHolder(QLineEdit& holder);

} // namespace velmora
