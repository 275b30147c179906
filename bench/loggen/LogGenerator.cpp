#include "loggen/LogGenerator.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <unistd.h>
#include <vector>

#include "core/presentation/PriorityNames.h"
#include "core/system/FileHandles.h"

namespace velmora::bench {

namespace {

constexpr std::size_t kChunkBytes = std::size_t{4} << 20;
constexpr std::size_t kMinMessageBytes = 30;
constexpr std::size_t kMaxMessageBytes = 300;

constexpr const auto& kFacilities = kFacilityNames;
// Per mille, in the order of kFacilities: daemons and the local facilities log the most.
constexpr std::array<std::uint32_t, 24> kFacilityWeights = {
    60, 50, 40, 120, 60, 40, 5, 3, 2, 50, 40, 10, 20, 10, 5, 5, 60, 60, 60, 60, 60, 60, 60, 60};

constexpr const auto& kSeverities = kSyslogSeverityNames;
constexpr std::array<std::uint32_t, 8> kSeverityWeights = {3, 5, 12, 60, 90, 200, 380, 250};

constexpr auto kHostNames = std::to_array<std::string_view>(
    {"gateway", "db-primary", "web-01", "web-02", "mail.kestrix.lan", "nas-backup"});
constexpr std::size_t kAddressHosts = 34;

constexpr auto kPrograms =
    std::to_array<std::string_view>({"sshd", "kernel", "CRON", "systemd", "postfix/smtpd", "dhcpd",
                                     "named", "sudo", "nginx", "ntpd", "app", "firewall"});

// Words of the messages: plain, with numbers and commas, and some beyond ASCII.
constexpr auto kWords = std::to_array<std::string_view>({"connection",
                                                         "from",
                                                         "to",
                                                         "accepted",
                                                         "refused",
                                                         "closed",
                                                         "session",
                                                         "opened",
                                                         "for",
                                                         "user",
                                                         "root",
                                                         "admin",
                                                         "alice",
                                                         "bob",
                                                         "port",
                                                         "22",
                                                         "443",
                                                         "8080",
                                                         "timeout",
                                                         "after",
                                                         "retry",
                                                         "3",
                                                         "of",
                                                         "5",
                                                         "disk",
                                                         "usage",
                                                         "at",
                                                         "91%",
                                                         "on",
                                                         "/var",
                                                         "interface",
                                                         "eth0",
                                                         "link",
                                                         "up",
                                                         "down",
                                                         "temperature",
                                                         "high",
                                                         "fan",
                                                         "speed",
                                                         "changed",
                                                         "request",
                                                         "GET",
                                                         "/index.html",
                                                         "POST",
                                                         "/api/v1/events",
                                                         "status=200,",
                                                         "status=503,",
                                                         "bytes=18432,",
                                                         "duration=12ms,",
                                                         "src=10.0.0.5,",
                                                         "dst=192.168.1.20,",
                                                         "proto=TCP,",
                                                         "ttl=64,",
                                                         "queue",
                                                         "full,",
                                                         "dropping",
                                                         "packets,",
                                                         "backup",
                                                         "completed",
                                                         "failed",
                                                         "certificate",
                                                         "expires",
                                                         "in",
                                                         "7",
                                                         "days",
                                                         "lease",
                                                         "renewed",
                                                         "café",
                                                         "über",
                                                         "größe",
                                                         "naïve",
                                                         "→",
                                                         "⇒",
                                                         "✓",
                                                         "接続",
                                                         "エラー",
                                                         "服务器",
                                                         "로그",
                                                         "ошибка",
                                                         "überprüft",
                                                         "déjà",
                                                         "señal",
                                                         "état:",
                                                         "réseau",
                                                         "Zürich",
                                                         "Ångström"});

constexpr std::string_view kHexDigits = "0123456789abcdef";

// xoshiro256**: fast, and the same stream on every platform for a seed.
class Random {
public:
    explicit Random(std::uint64_t seed) {
        for (std::uint64_t& word : m_state) {
            seed += 0x9E3779B97F4A7C15ULL; // splitmix64
            std::uint64_t z = seed;
            z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
            z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
            word = z ^ (z >> 31);
        }
    }

    std::uint64_t next() {
        const std::uint64_t result = std::rotl(m_state[1] * 5, 7) * 9;
        const std::uint64_t t = m_state[1] << 17;
        m_state[2] ^= m_state[0];
        m_state[3] ^= m_state[1];
        m_state[1] ^= m_state[2];
        m_state[0] ^= m_state[3];
        m_state[2] ^= t;
        m_state[3] = std::rotl(m_state[3], 45);
        return result;
    }

    // Uniform in [0, n).
    std::size_t below(std::size_t n) {
        return static_cast<std::size_t>((static_cast<unsigned __int128>(next()) * n) >> 64);
    }

private:
    std::array<std::uint64_t, 4> m_state{};
};

// A table in which index i stands weights[i] times: a uniform pick from it follows the weights.
template <std::size_t N>
std::vector<std::uint8_t> pickTable(const std::array<std::uint32_t, N>& weights) {
    std::vector<std::uint8_t> table;
    for (std::size_t i = 0; i < N; ++i) {
        table.insert(table.end(), weights[i], static_cast<std::uint8_t>(i));
    }
    return table;
}

// What every file draws from, built once.
struct Vocabulary {
    std::vector<std::string> priorities; // facility * 8 + severity
    std::vector<std::uint8_t> facilityPicks = pickTable(kFacilityWeights);
    std::vector<std::uint8_t> severityPicks = pickTable(kSeverityWeights);
    std::vector<std::string> hosts;
    std::vector<std::uint8_t> hostPicks;

    Vocabulary() {
        for (const std::string_view facility : kFacilities) {
            for (const std::string_view severity : kSeverities) {
                priorities.push_back(std::string(facility) + "." + std::string(severity));
            }
        }
        for (std::size_t i = 0; i < kAddressHosts; ++i) {
            hosts.push_back(i < 20 ? "10.0." + std::to_string(i / 8) + "." +
                                         std::to_string(10 + i * 37 % 240)
                            : i < 30 ? "192.168.1." + std::to_string(2 + i * 7)
                                     : "172.16.4." + std::to_string(100 + i));
        }
        hosts.insert(hosts.end(), kHostNames.begin(), kHostNames.end());
        // A few hosts are busy, most are quiet.
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            hostPicks.insert(hostPicks.end(), 240 / (i + 4) + 2, static_cast<std::uint8_t>(i));
        }
    }
};

const Vocabulary& vocabulary() {
    static const Vocabulary words;
    return words;
}

void appendNumber(std::string& out, std::uint64_t value) {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    out.append(digits, end);
}

// The lines of one file.
class FileMaker {
public:
    FileMaker(const LogGeneratorOptions& options, std::size_t index, std::uint64_t bytes)
        : m_random(options.seed * 0x100000001B3ULL + index)
        , m_words(vocabulary())
        , m_quota(bytes) {
        const auto files = static_cast<std::int64_t>(std::max<std::size_t>(options.files, 1));
        const auto i = static_cast<std::int64_t>(index);
        const std::int64_t spanMs = options.spanSeconds * 1000;
        m_startMs = options.startSeconds * 1000 + spanMs * i / files;
        m_spanMs = options.startSeconds * 1000 + spanMs * (i + 1) / files - m_startMs;
    }

    // Appends the next line; false when the file has no room for another.
    bool appendLine(std::string& out) {
        const std::size_t lineStart = out.size();
        const std::uint64_t room = m_quota - m_written;
        appendDate(out);
        out += ',';
        out += m_words.priorities[priorityIndex()];
        out += ',';
        out += m_words.hosts[m_words.hostPicks[m_random.below(m_words.hostPicks.size())]];
        out += ',';
        const std::size_t prefix = out.size() - lineStart;
        std::size_t length = messageLength();
        if (prefix + length + 1 > room) {
            if (prefix + kMinMessageBytes + 1 > room) {
                out.resize(lineStart);
                m_written = m_quota;
                return false;
            }
            length = static_cast<std::size_t>(room) - prefix - 1;
        }
        appendMessage(out, length);
        out += '\n';
        m_written += out.size() - lineStart;
        return m_written < m_quota;
    }

private:
    Random m_random;
    const Vocabulary& m_words;
    std::uint64_t m_quota;
    std::uint64_t m_written = 0;
    std::int64_t m_startMs = 0;
    std::int64_t m_spanMs = 0;
    std::int64_t m_fractionSecond = -1; // the second whose lines carry milliseconds

    std::size_t priorityIndex() {
        const std::size_t facility = m_words.facilityPicks[m_random.below(1000)];
        const std::size_t severity = m_words.severityPicks[m_random.below(1000)];
        return facility * kSeverities.size() + severity;
    }

    // Mostly short messages, some long: about 110 bytes on average.
    std::size_t messageLength() {
        constexpr std::size_t range = kMaxMessageBytes - kMinMessageBytes;
        const std::size_t a = m_random.below(range + 1);
        const std::size_t b = m_random.below(range + 1);
        return kMinMessageBytes + (std::min(a, b) + a * b / range) / 2;
    }

    // The time moves through the file's span with its bytes. Once a second has shown
    // milliseconds, its later lines show them too, so that the dates never go back.
    void appendDate(std::string& out) {
        const auto elapsed = static_cast<std::int64_t>(
            static_cast<__int128>(m_spanMs) * static_cast<__int128>(m_written) /
            static_cast<__int128>(std::max<std::uint64_t>(m_quota, 1)));
        const std::int64_t ms = m_startMs + elapsed;
        const std::int64_t second = ms / 1000;
        if (second != m_fractionSecond) {
            m_fractionSecond = m_random.below(100) == 0 ? second : -1;
        }
        appendNumber(out, static_cast<std::uint64_t>(second));
        std::int64_t fraction = ms % 1000;
        if (second == m_fractionSecond && fraction != 0) {
            out += '.';
            int digits = 3;
            while (fraction % 10 == 0) {
                fraction /= 10;
                --digits;
            }
            const std::size_t at = out.size();
            out.append(static_cast<std::size_t>(digits), '0');
            for (int i = digits - 1; i >= 0; --i, fraction /= 10) {
                out[at + static_cast<std::size_t>(i)] = static_cast<char>('0' + fraction % 10);
            }
        }
    }

    // Exactly length bytes: "program[pid]: ", whole words, then a hex id to fill the rest.
    void appendMessage(std::string& out, std::size_t length) {
        const std::size_t end = out.size() + length;
        out += kPrograms[m_random.below(kPrograms.size())];
        out += '[';
        appendNumber(out, 100 + m_random.below(32000));
        out += "]:";
        std::string_view separator = " ";
        for (;;) {
            const std::string_view word = kWords[m_random.below(kWords.size())];
            if (out.size() + separator.size() + word.size() > end) {
                break;
            }
            out += separator;
            out += word;
            const std::uint64_t roll = m_random.below(100);
            separator = roll < 12 ? ", " : roll < 15 ? "; " : " ";
        }
        if (out.size() + 1 < end) {
            out += ' '; // then a request id to fill the length
        }
        while (out.size() < end) {
            out += kHexDigits[m_random.below(kHexDigits.size())];
        }
    }
};

Error writeError(const std::string& path) {
    return {ErrorCode::Io, path + ": " + std::strerror(errno)};
}

// A number with an optional one-letter unit; nothing else may follow.
template <typename T>
Result<T> parseWithUnit(std::string_view text, std::string_view units,
                        const std::vector<T>& factors, const char* what) {
    T value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string_view rest(end, static_cast<std::size_t>(text.data() + text.size() - end));
    const std::size_t unit = rest.size() == 1 ? units.find(rest[0]) : std::string_view::npos;
    if (error != std::errc() || end == text.data() ||
        (!rest.empty() && unit == std::string_view::npos)) {
        return Error{ErrorCode::Invalid, "not a " + std::string(what) + ": " + std::string(text)};
    }
    const T factor = rest.empty() ? 1 : factors[unit];
    if (value > std::numeric_limits<T>::max() / factor) {
        return Error{ErrorCode::Invalid, std::string(what) + " too large: " + std::string(text)};
    }
    return value * factor;
}

} // namespace

LogGenerator::LogGenerator(LogGeneratorOptions options)
    : m_options(options) {
    m_options.files = std::max<std::size_t>(m_options.files, 1);
}

std::string LogGenerator::fileName(std::size_t index) const {
    std::string number = std::to_string(index);
    if (number.size() < 3) {
        number.insert(0, 3 - number.size(), '0');
    }
    return "events-" + number + ".log";
}

std::uint64_t LogGenerator::fileBytes(std::size_t index) const {
    const std::uint64_t files = m_options.files;
    return m_options.totalBytes / files + (index < m_options.totalBytes % files ? 1 : 0);
}

void LogGenerator::generateFile(std::size_t index,
                                const std::function<bool(std::string_view)>& sink) const {
    FileMaker maker(m_options, index, fileBytes(index));
    std::string chunk;
    chunk.reserve(kChunkBytes + 1024);
    bool more = fileBytes(index) > 0;
    while (more) {
        more = maker.appendLine(chunk);
        if (chunk.size() >= kChunkBytes || !more) {
            if (!sink(chunk)) {
                return;
            }
            chunk.clear();
        }
    }
}

std::string LogGenerator::generateFile(std::size_t index) const {
    std::string content;
    content.reserve(fileBytes(index));
    generateFile(index, [&](std::string_view chunk) {
        content += chunk;
        return true;
    });
    return content;
}

Status LogGenerator::writeFiles(const std::string& directory) const {
    for (std::size_t index = 0; index < m_options.files; ++index) {
        const std::string path = directory + "/" + fileName(index);
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) {
            return writeError(path);
        }
        bool written = true;
        generateFile(index, [&](std::string_view chunk) {
            written = writeAll(fd, chunk);
            return written;
        });
        if (!written) {
            const Error error = writeError(path);
            ::close(fd);
            return error;
        }
        if (::close(fd) != 0) {
            return writeError(path);
        }
    }
    return {};
}

Result<std::uint64_t> parseByteSize(std::string_view text) {
    const std::vector<std::uint64_t> factors = {std::uint64_t{1} << 10, std::uint64_t{1} << 20,
                                                std::uint64_t{1} << 30, std::uint64_t{1} << 40};
    return parseWithUnit<std::uint64_t>(text, "KMGT", factors, "size");
}

Result<std::int64_t> parseDuration(std::string_view text) {
    return parseWithUnit<std::int64_t>(text, "smhd", {1, 60, 3600, 86400}, "duration");
}

} // namespace velmora::bench
