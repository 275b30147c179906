#pragma once

#include <QUrl>

namespace velmora {

// The user guide bundled in the program's resources. Browsers cannot read Qt resources, so the
// guide is written to the user's cache folder and opened from there.
class HelpGuide {
public:
    // The guide as a local file, written (again) now; an empty URL when it cannot be written.
    static QUrl writeLocalCopy();
    // Opens the guide in the default browser. Returns whether a browser was asked to.
    static bool open();
};

} // namespace velmora
