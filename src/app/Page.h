#pragma once

namespace velmora {

// The pages of the main window, by their index in its page stack. Home to Tools have
// navigation buttons; Options, Actions and Export are reached from Tools and from the links
// of the Scan page, and return to the page they were opened from.
enum class Page : int {
    Home = 0,
    Scan = 1,
    Reports = 2,
    Tools = 3,
    Options = 4,
    Actions = 5,
    Export = 6
};

inline constexpr int kPageCount = 7;

} // namespace velmora
