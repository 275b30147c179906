#pragma once

#include <string>
#include <string_view>

#include "core/Result.h"
#include "core/system/AtomicFile.h"

namespace velmora {

// A file replaced atomically whose content is written in parts, for content too big to hold in
// memory at once: the parts go into a temporary file beside the target, and commit() renames it
// over the target. Until then, and whenever a step fails, the target stays as it was; a writer
// dropped without a successful commit removes its temporary file. An existing target keeps its
// mode and, where the process may, its owner.
class AtomicFileWriter {
public:
    static Result<AtomicFileWriter> open(const std::string& path, NewFileMode newFileMode);

    AtomicFileWriter(AtomicFileWriter&& other) noexcept;
    AtomicFileWriter& operator=(AtomicFileWriter&& other) noexcept;
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;
    ~AtomicFileWriter();

    // Writes the bytes (unbuffered: give large parts). After a failure nothing more is written
    // and commit() fails.
    Status write(std::string_view bytes);
    // Flushes the file to disk and puts it in the target's place.
    Status commit();

private:
    AtomicFileWriter(int fd, std::string path, std::string temporary);
    void discard() noexcept;

    int m_fd = -1;
    std::string m_path;
    std::string m_temporary;
    int m_error = 0; // the errno of a failed write
};

} // namespace velmora
