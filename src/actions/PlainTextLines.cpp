#include "actions/PlainTextLines.h"

#include <QPlainTextEdit>
#include <QTextDocument>

namespace velmora {

QString lineEndOf(const QString& text, const QString& fallback) {
    for (const QString& lineEnd :
         {QStringLiteral("\r\n"), QStringLiteral("\n"), QStringLiteral("\r")}) {
        if (text.contains(lineEnd)) {
            return lineEnd;
        }
    }
    return fallback;
}

QString textWithLineEnds(const QPlainTextEdit& view, const QString& lineEnd) {
    // The raw text separates lines by paragraph separators and keeps what the plain text
    // would change (no-break spaces).
    QString text = view.document()->toRawText();
    text.replace(QChar::ParagraphSeparator, lineEnd);
    return text;
}

} // namespace velmora
