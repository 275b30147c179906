// Reads arbitrary bytes as a log file twice: with the fast piece splitter and field parser, and
// with the plain fgets + strtok reading they must equal. Any difference in the pieces (offset,
// size) or in the four fields aborts. The bytes are also read as two blocks cut at a point the
// input chooses, the way a file bigger than one read arrives, which must give the same pieces. The
// UTF-8 check must agree with a plain decoder on the whole input and on each field, and the lenient
// decoding must give valid text of the same UTF-16 length, leaving valid text as it is.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "../core/eventlog/FgetsReference.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"

namespace {

using velmora::test::PieceRecord;

// Validity by code point value, a different method from the engine's byte ranges: a lead
// announces the length, the continuation bits make the value, and the value must need that
// length and be neither a surrogate nor above U+10FFFF.
bool referenceValid(std::string_view bytes) {
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[pos]);
        const std::size_t length = lead < 0x80    ? 1
                                   : lead >= 0xF0 ? 4
                                   : lead >= 0xE0 ? 3
                                   : lead >= 0xC0 ? 2
                                                  : 0;
        if (length == 0 || lead >= 0xF8 || pos + length > bytes.size()) {
            return false;
        }
        std::uint32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(bytes[pos + i]);
            if ((next & 0xC0) != 0x80) {
                return false;
            }
            value = (value << 6) | (next & 0x3Fu);
        }
        constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (value < kLeast[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
            return false;
        }
        pos += length;
    }
    return true;
}

void checkDecoding(std::string_view field) {
    const std::string text = velmora::decodeLenient(field);
    const bool valid = velmora::isValidUtf8(field);
    if (valid != referenceValid(field) || !velmora::isValidUtf8(text) || valid != (text == field) ||
        velmora::utf16Length(text) != velmora::utf16Length(field)) {
        std::abort();
    }
}

std::vector<PieceRecord> readFast(std::string_view data) {
    std::vector<PieceRecord> records;
    velmora::forEachPiece(data, [&](std::string_view piece) {
        PieceRecord record;
        record.offset = static_cast<std::uint64_t>(piece.data() - data.data());
        record.size = piece.size();
        if (const std::optional<velmora::LogFields> fields = velmora::parseLogPiece(piece)) {
            record.hasFields = true;
            record.date = fields->date;
            record.priority = fields->priority;
            record.host = fields->host;
            record.message = fields->message;
            for (const std::string_view field :
                 {fields->date, fields->priority, fields->host, fields->message}) {
                checkDecoding(field);
            }
        }
        records.push_back(std::move(record));
    });
    return records;
}

// The pieces of data, as (offset, size), read as a first block data[0, cut) and then the
// rest: the unfinished piece at the end of the first block is carried in front of the second.
using Pieces = std::vector<std::pair<std::size_t, std::size_t>>;

Pieces piecesOf(std::string_view data, std::size_t cut) {
    Pieces pieces;
    const auto collect = [&](std::string_view piece) {
        pieces.emplace_back(static_cast<std::size_t>(piece.data() - data.data()), piece.size());
    };
    const std::size_t consumed = velmora::forEachCompletePiece(data.substr(0, cut), collect);
    velmora::forEachPiece(data.substr(consumed), collect);
    return pieces;
}

void checkBlocks(std::string_view data, const std::vector<PieceRecord>& whole) {
    const std::size_t cut =
        data.empty() ? 0 : static_cast<unsigned char>(data[0]) * data.size() / 256;
    const Pieces pieces = piecesOf(data, cut);
    if (pieces.size() != whole.size()) {
        std::abort();
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].first != whole[i].offset || pieces[i].second != whole[i].size) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (velmora::isValidUtf8(bytes) != referenceValid(bytes)) {
        std::abort();
    }
    const std::vector<PieceRecord> records = readFast(bytes);
    if (records != velmora::test::readWithFgets(bytes)) {
        std::abort();
    }
    checkBlocks(bytes, records);
    return 0;
}
