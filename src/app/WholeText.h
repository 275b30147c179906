#pragma once

class QPlainTextEdit;
class QString;

namespace velmora {

// Shows a text whole in a text view, however long. Text is wrapped at word boundaries, as
// readers expect; past a few thousand characters it wraps anywhere instead, since word
// wrapping takes time that grows with the square of an unbroken run (minutes for a megabyte
// with no space), where wrapping anywhere grows with the length.
void showWholeText(QPlainTextEdit& view, const QString& text);

} // namespace velmora
