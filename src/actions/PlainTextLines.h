#pragma once

#include <QString>

class QPlainTextEdit;

namespace velmora {

// A multi-line text view holds lines, not line ends: it reads "\r\n", "\r" and "\n" alike as the
// end of a line. Texts the server reads (the mail body, a command's environment, an event's
// format) are written back with the line end they had when they were read, so that opening and
// saving a sheet changes nothing, and with the sheet's own line end when they had none.

// The line end a stored text uses, or `fallback` when it holds none.
QString lineEndOf(const QString& text, const QString& fallback);

// The view's text with each line ended by `lineEnd` (the last line as typed), every other
// character as it stands (no-break spaces stay no-break spaces).
QString textWithLineEnds(const QPlainTextEdit& view, const QString& lineEnd);

} // namespace velmora
