#pragma once

class QLabel;

namespace velmora {

// Draws a label's text, kept as it is, in the link colour of its palette and underlined, as
// the pages' link texts are drawn. What a click does is up to the page.
void restyleAsLink(QLabel& label);

} // namespace velmora
