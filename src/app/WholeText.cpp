#include "app/WholeText.h"

#include <QPlainTextEdit>
#include <QTextOption>

namespace velmora {

namespace {

// Word wrapping an unbroken run of this length takes a few milliseconds.
constexpr qsizetype kWordWrapLimit = 8192;

} // namespace

void showWholeText(QPlainTextEdit& view, const QString& text) {
    view.setWordWrapMode(text.size() <= kWordWrapLimit ? QTextOption::WrapAtWordBoundaryOrAnywhere
                                                       : QTextOption::WrapAnywhere);
    view.setPlainText(text);
}

} // namespace velmora
