#pragma once

class QPlainTextEdit;
class QString;

namespace velmora {

// Shows a text whole in a text view, however long. Text is wrapped at word boundaries, as
// readers expect; past a few thousand characters it wraps anywhere instead, since word
// wrapping takes time that grows with the square of an unbroken run (64 KiB with no space:
// 0.15 s; four megabytes: minutes), where wrapping anywhere grows with the length
// (bench/PopupDetailsBench.cpp).
void showWholeText(QPlainTextEdit& view, const QString& text);

} // namespace velmora
