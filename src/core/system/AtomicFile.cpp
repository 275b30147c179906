#include "core/system/AtomicFile.h"

#include <string_view>

#include "core/system/AtomicFileWriter.h"

namespace velmora {

Status replaceFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                             NewFileMode newFileMode) {
    Result<AtomicFileWriter> writer = AtomicFileWriter::open(path, newFileMode);
    if (!writer) {
        return writer.error();
    }
    if (Status written = writer->write(
            std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        !written) {
        return written;
    }
    return writer->commit();
}

} // namespace velmora
