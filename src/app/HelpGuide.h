#pragma once

#include <QUrl>

namespace velmora {

// The user guide. An installation has it as a file beside the program; otherwise the copy
// bundled in the program's resources is written to the user's cache folder (browsers cannot
// read Qt resources) and opened from there.
class HelpGuide {
public:
    // The guide as a local file, written (again) now; an empty URL when it cannot be written.
    static QUrl writeLocalCopy();
    // Opens the installed guide, else the bundled one, in the default browser. Returns whether a
    // browser was asked to.
    static bool open();
};

} // namespace velmora
