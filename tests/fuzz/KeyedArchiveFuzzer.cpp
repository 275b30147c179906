// Feeds arbitrary bytes to the settings-archive decoder. Whatever it accepts must survive a
// trip through the encoder and decode again: a value we can read is one we can write. The
// decoder's size budget follows the archive's length, and the encoder drops the objects
// nothing refers to, so that budget is the one thing that may refuse the second decode.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "core/archive/KeyedArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    const Result<Value> decoded = keyed_archive::decode(std::span(data, size));
    if (!decoded) {
        return 0;
    }
    const Result<Value> again = keyed_archive::decode(keyed_archive::encode(*decoded));
    if (!again && again.error().message.find("expands") == std::string::npos) {
        std::abort();
    }
    return 0;
}
