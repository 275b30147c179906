#include "core/eventlog/LogLineReader.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora {

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

// The high bit of each byte of word that equals target; a spurious bit can only follow a real
// one, so the lowest bit set is exact.
constexpr std::uint64_t bytesEqual(std::uint64_t word, char target) noexcept {
    const std::uint64_t x = word ^ (static_cast<unsigned char>(target) * kOnes);
    return (x - kOnes) & ~x & kHighBits;
}

// The first byte in [pos, end) that is one of Targets, or end: sixteen bytes at a time with
// SSE2 (part of every x86-64), else eight at a time in a word.
template <char... Targets>
const char* findFirstOf(const char* pos, const char* end) noexcept {
#if defined(__SSE2__)
    const auto hitsAt = [](const char* at) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        __m128i hits = _mm_setzero_si128();
        ((hits = _mm_or_si128(hits, _mm_cmpeq_epi8(chunk, _mm_set1_epi8(Targets)))), ...);
        return static_cast<unsigned>(_mm_movemask_epi8(hits));
    };
    if (end - pos >= 16) {
        for (; end - pos >= 16; pos += 16) {
            if (const unsigned mask = hitsAt(pos); mask != 0) {
                return pos + std::countr_zero(mask);
            }
        }
        // The last bytes in one more block that overlaps bytes already known to hold no target.
        if (pos != end) {
            const unsigned mask = hitsAt(end - 16);
            return mask != 0 ? end - 16 + std::countr_zero(mask) : end;
        }
        return pos;
    }
#endif
    if constexpr (std::endian::native == std::endian::little) {
        while (end - pos >= 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, pos, 8);
            if (const std::uint64_t hits = (bytesEqual(word, Targets) | ...); hits != 0) {
                return pos + std::countr_zero(hits) / 8;
            }
            pos += 8;
        }
    }
    while (pos != end && ((*pos != Targets) && ...)) {
        ++pos;
    }
    return pos;
}

// Date, priority and host end at a comma, CR or LF; a NUL ends the piece as a C string.
const char* findFieldEnd(const char* pos, const char* end) noexcept {
    return findFirstOf<',', '\r', '\n', '\0'>(pos, end);
}

// The message ends at a CR or LF, or at a NUL.
const char* findMessageEnd(const char* pos, const char* end) noexcept {
    return findFirstOf<'\r', '\n', '\0'>(pos, end);
}

bool isFieldSeparator(char c) noexcept {
    return c == ',' || c == '\r' || c == '\n';
}

// strtok over one piece, without writing into it.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view piece) noexcept
        : m_pos(piece.data())
        , m_end(piece.data() + piece.size()) {}

    // The next token ending at a comma, CR or LF.
    std::optional<std::string_view> field() noexcept {
        while (m_pos != m_end && isFieldSeparator(*m_pos)) {
            ++m_pos;
        }
        if (m_pos == m_end || *m_pos == '\0') {
            return std::nullopt;
        }
        const char* start = m_pos;
        m_pos = findFieldEnd(m_pos, m_end);
        const std::string_view token(start, static_cast<std::size_t>(m_pos - start));
        if (m_pos != m_end) {
            // strtok consumes the one separator that ended the token; a NUL ends the string.
            if (*m_pos == '\0') {
                m_end = m_pos;
            } else {
                ++m_pos;
            }
        }
        return token;
    }

    // The next token ending at a CR or LF: commas belong to it.
    std::optional<std::string_view> rest() noexcept {
        while (m_pos != m_end && (*m_pos == '\r' || *m_pos == '\n')) {
            ++m_pos;
        }
        if (m_pos == m_end || *m_pos == '\0') {
            return std::nullopt;
        }
        const char* stop = findMessageEnd(m_pos, m_end);
        return std::string_view(m_pos, static_cast<std::size_t>(stop - m_pos));
    }

private:
    const char* m_pos;
    const char* m_end;
};

#if defined(__SSE2__)

// The separators of the first 64 bytes of a piece, one bit per byte.
struct SeparatorBits {
    std::uint64_t lineEnds = 0;  // CR, LF
    std::uint64_t fieldEnds = 0; // comma, CR, LF
    std::uint64_t nuls = 0;
};

constexpr unsigned kWindowBytes = 64;

SeparatorBits separatorBits(const char* window) noexcept {
    SeparatorBits bits;
    for (unsigned chunk = 0; chunk < kWindowBytes / 16; ++chunk) {
        const __m128i bytes =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(window + 16 * chunk));
        const __m128i lineEnd = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')),
                                             _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
        const __m128i comma = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(','));
        const __m128i nul = _mm_cmpeq_epi8(bytes, _mm_setzero_si128());
        const auto bitsOf = [chunk](__m128i matches) {
            return std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(matches))}
                   << (16 * chunk);
        };
        bits.lineEnds |= bitsOf(lineEnd);
        bits.fieldEnds |= bitsOf(_mm_or_si128(lineEnd, comma));
        bits.nuls |= bitsOf(nul);
    }
    return bits;
}

// The first set bit of mask at or after pos, or kWindowBytes.
unsigned nextBit(std::uint64_t mask, unsigned pos) noexcept {
    const std::uint64_t from = pos >= kWindowBytes ? 0 : mask & (~std::uint64_t{0} << pos);
    return from == 0 ? kWindowBytes : static_cast<unsigned>(std::countr_zero(from));
}

enum class Outcome { Fields, NoFields, Undecided };

// strtok from the piece's start, by the tokenizer's rules, from the separator bits of its first
// 64 bytes: the three short fields and the start of the message, where nearly every line has
// them, cost a few bit operations instead of a scan per field. Whatever the window cannot
// decide is left to the tokenizer. The piece has at least 64 bytes.
Outcome parseFromWindow(std::string_view piece, LogFields& fields) noexcept {
    const SeparatorBits bits = separatorBits(piece.data());
    const auto isNul = [&bits](unsigned pos) { return ((bits.nuls >> pos) & 1U) != 0; };
    unsigned pos = 0;
    std::string_view* const tokens[] = {&fields.date, &fields.priority, &fields.host};
    for (std::string_view* token : tokens) {
        const unsigned start = nextBit(~bits.fieldEnds, pos);
        const unsigned end = nextBit(bits.fieldEnds | bits.nuls, start);
        if (end == kWindowBytes) {
            return Outcome::Undecided;
        }
        // A NUL where a field would start, or right after one, ends the piece as a C string
        // before the message.
        if (isNul(start) || isNul(end)) {
            return Outcome::NoFields;
        }
        *token = std::string_view(piece.data() + start, end - start);
        pos = end + 1;
    }
    const unsigned start = nextBit(~bits.lineEnds, pos);
    if (start == kWindowBytes) {
        return Outcome::Undecided;
    }
    if (isNul(start)) {
        return Outcome::NoFields;
    }
    // A piece holds no line feed but its last byte: the message ends at the first CR or NUL,
    // else at that line feed or the piece's end.
    const char* const first = piece.data() + start;
    std::size_t length = piece.size() - start - (piece.back() == '\n' ? 1 : 0);
    if (const void* cr = std::memchr(first, '\r', length)) {
        length = static_cast<std::size_t>(static_cast<const char*>(cr) - first);
    }
    fields.message = std::string_view(first, ::strnlen(first, length));
    return Outcome::Fields;
}

#endif

Error errnoError(const std::string& path, int error) {
    return {error == ENOENT ? ErrorCode::NotFound : ErrorCode::Io,
            path + ": " + std::strerror(error)};
}

// Reads up to capacity bytes: 0 at the end of the file, -1 on an error (in errno).
ssize_t readSome(int fd, char* data, std::size_t capacity) {
    ssize_t n = 0;
    do {
        n = ::read(fd, data, capacity);
    } while (n < 0 && errno == EINTR);
    return n;
}

// An open descriptor of a regular file, closed on destruction unless released.
class RegularFile {
public:
    RegularFile() = default;
    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;
    ~RegularFile() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    // O_NONBLOCK: opening a FIFO named like a log file must not wait for a writer.
    Status open(const std::string& path) {
        m_fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        return checkRegular(path);
    }

    // A duplicate of a descriptor, at the start of its file.
    Status duplicate(int fd, const std::string& path) {
        m_fd = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
        if (Status regular = checkRegular(path); !regular) {
            return regular;
        }
        if (::lseek(m_fd, 0, SEEK_SET) != 0) {
            return errnoError(path, errno);
        }
        return {};
    }

    int fd() const { return m_fd; }
    std::uint64_t size() const { return m_size; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd = -1;
    std::uint64_t m_size = 0;

    Status checkRegular(const std::string& path) {
        struct stat st {};
        if (m_fd < 0 || ::fstat(m_fd, &st) != 0) {
            return errnoError(path, errno);
        }
        if (!S_ISREG(st.st_mode)) {
            return Error{ErrorCode::Unsupported, path + ": not a regular file"};
        }
        m_size = static_cast<std::uint64_t>(st.st_size);
        return {};
    }
};

// Small files do not need the full block of a big one.
constexpr std::size_t kSmallFileBlockBytes = std::size_t{64} << 10;

} // namespace

std::optional<LogFields> parseLogPiece(std::string_view piece) noexcept {
#if defined(__SSE2__)
    if (piece.size() >= kWindowBytes) {
        LogFields fields;
        switch (parseFromWindow(piece, fields)) {
        case Outcome::Fields:
            return fields;
        case Outcome::NoFields:
            return std::nullopt;
        case Outcome::Undecided:
            break;
        }
    }
#endif
    Tokenizer tokens(piece);
    const std::optional<std::string_view> date = tokens.field();
    if (!date) {
        return std::nullopt;
    }
    const std::optional<std::string_view> priority = tokens.field();
    if (!priority) {
        return std::nullopt;
    }
    const std::optional<std::string_view> host = tokens.field();
    if (!host) {
        return std::nullopt;
    }
    const std::optional<std::string_view> message = tokens.rest();
    if (!message) {
        return std::nullopt;
    }
    return LogFields{*date, *priority, *host, *message};
}

Result<LogLineReader> LogLineReader::open(const std::string& path, std::size_t blockBytes) {
    RegularFile file;
    if (Status opened = file.open(path); !opened) {
        return opened.error();
    }
    const std::uint64_t size = file.size();
    return startReading(file.release(), size, path, blockBytes);
}

Result<LogLineReader> LogLineReader::openDuplicate(int fd, const std::string& path,
                                                   std::size_t blockBytes) {
    RegularFile file;
    if (Status opened = file.duplicate(fd, path); !opened) {
        return opened.error();
    }
    const std::uint64_t size = file.size();
    return startReading(file.release(), size, path, blockBytes);
}

LogLineReader LogLineReader::startReading(int fd, std::uint64_t size, const std::string& path,
                                          std::size_t blockBytes) {
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    const std::size_t wanted = std::max<std::size_t>(blockBytes, 1);
    const std::size_t forSize = std::max<std::uint64_t>(size + 1, kSmallFileBlockBytes);
    return LogLineReader(fd, std::min(wanted, forSize), path);
}

LogLineReader::LogLineReader(int fd, std::size_t blockBytes, std::string path)
    : m_fd(fd)
    , m_blockBytes(blockBytes)
    , m_buffer(blockBytes + kMaxPieceBytes)
    , m_path(std::move(path)) {}

LogLineReader::LogLineReader(LogLineReader&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1))
    , m_blockBytes(other.m_blockBytes)
    , m_buffer(std::move(other.m_buffer))
    , m_path(std::move(other.m_path))
    , m_filled(std::exchange(other.m_filled, 0))
    , m_offset(other.m_offset) {}

LogLineReader& LogLineReader::operator=(LogLineReader&& other) noexcept {
    if (this != &other) {
        close();
        m_fd = std::exchange(other.m_fd, -1);
        m_blockBytes = other.m_blockBytes;
        m_buffer = std::move(other.m_buffer);
        m_path = std::move(other.m_path);
        m_filled = std::exchange(other.m_filled, 0);
        m_offset = other.m_offset;
    }
    return *this;
}

LogLineReader::~LogLineReader() {
    close();
}

void LogLineReader::close() noexcept {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_filled = 0;
}

Result<LogLineReader::Block> LogLineReader::readBlock() {
    ssize_t n = 0;
    if (m_fd >= 0) {
        n = readSome(m_fd, m_buffer.data() + m_filled, m_blockBytes);
        if (n < 0) {
            return errnoError(m_path, errno);
        }
    }
    m_filled += static_cast<std::size_t>(n);
    return Block{std::string_view(m_buffer.data(), m_filled), m_offset, n == 0};
}

void LogLineReader::carryFrom(std::size_t consumed) {
    std::memmove(m_buffer.data(), m_buffer.data() + consumed, m_filled - consumed);
    m_filled -= consumed;
    m_offset += consumed;
}

Status readFileInto(const std::string& path, std::vector<char>& out) {
    RegularFile file;
    if (Status opened = file.open(path); !opened) {
        return opened;
    }
    // One byte more than the size, so that the read that meets the end needs no second buffer.
    out.resize(static_cast<std::size_t>(file.size()) + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == out.size()) {
            out.resize(out.size() + kSmallFileBlockBytes); // the file grew while it was read
        }
        const ssize_t n = readSome(file.fd(), out.data() + filled, out.size() - filled);
        if (n < 0) {
            out.clear();
            return errnoError(path, errno);
        }
        if (n == 0) {
            break;
        }
        filled += static_cast<std::size_t>(n);
    }
    out.resize(filled);
    return {};
}

} // namespace velmora
