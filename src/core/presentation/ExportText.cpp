#include "core/presentation/ExportText.h"

#include "core/eventlog/LogDirectory.h"

namespace velmora {

char ExportText::separatorFor(std::string_view path) {
    return pathExtension(path) == "txt" ? '\t' : ',';
}

void ExportText::appendLine(std::span<const std::string_view> cells, std::string& out) const {
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) {
            out += m_separator;
        }
        out += cells[i];
    }
    out += '\n';
}

} // namespace velmora
