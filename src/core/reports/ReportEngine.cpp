#include "core/reports/ReportEngine.h"

#include <optional>
#include <sys/stat.h>
#include <utility>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/reports/ReportLines.h"

namespace velmora {

namespace {

constexpr std::uint64_t kProgressStep = std::uint64_t{4} << 20;
constexpr std::uint32_t kPiecesPerCancelCheck = 1024;
// Guesses at the bytes of a line: a low one to reserve the detail rows at once (pages never
// touched cost nothing), a typical one to size the table of keys, which is filled in.
constexpr std::uint64_t kShortLineBytes = 100;
constexpr std::uint64_t kTypicalLineBytes = 150;

std::uint64_t fileSize(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)
               ? static_cast<std::uint64_t>(st.st_size)
               : 0;
}

} // namespace

ReportEngine::ReportEngine(ReportRequest request)
    : m_request(std::move(request)) {}

std::vector<std::string> ReportEngine::chosenFiles() const {
    std::vector<std::string> paths;
    const Result<std::vector<std::string>> names = listLogFiles(m_request.dataDirectory);
    if (!names) {
        return paths;
    }
    for (const std::string& name : *names) {
        if (m_request.logName == kAllLogs || withoutPathExtension(name) == m_request.logName) {
            paths.push_back(m_request.dataDirectory + "/" + name);
        }
    }
    return paths;
}

std::unique_ptr<Report> ReportEngine::build(const std::atomic<bool>* cancelled,
                                            const Progress& progress) const {
    std::unique_ptr<Report> report(new Report(m_request.grouping, m_request.dateFormat));
    const std::vector<std::string> paths = chosenFiles();
    std::uint64_t total = 0;
    for (const std::string& path : paths) {
        total += fileSize(path);
    }
    report->m_details.reserve(total / kShortLineBytes);
    if (m_request.grouping == ReportGrouping::Message) {
        report->m_keys.reserve(total / kTypicalLineBytes); // nearly a key a line
    }

    ReportLines lines(*report);
    std::uint64_t filesDone = 0; // bytes of the files read to their end
    std::uint64_t nextProgress = 0;
    std::uint32_t pieces = 0;
    bool stopped = false;
    for (const std::string& path : paths) {
        // The report reads its lines again through this descriptor, so it reads the file it
        // was built from even when the file is replaced.
        const std::optional<std::uint32_t> file = report->m_files.open(path);
        if (!file) {
            continue;
        }
        Result<LogLineReader> reader =
            LogLineReader::openDuplicate(report->m_files.descriptor(*file), path);
        if (!reader) {
            report->m_files.closeLast();
            continue;
        }
        const auto firstDetail = static_cast<std::uint32_t>(report->m_details.size());
        report->m_fileStart.push_back(firstDetail);
        std::uint64_t fileRead = 0;
        // A read error ends the file: what was read before it counts, as with a short read.
        [[maybe_unused]] const Status read =
            reader->forEachPiece([&](std::string_view piece, std::uint64_t offset) {
                if (++pieces == kPiecesPerCancelCheck) {
                    pieces = 0;
                    stopped = cancelled != nullptr && cancelled->load(std::memory_order_relaxed);
                }
                if (stopped || lines.full()) {
                    return false;
                }
                fileRead = offset + piece.size();
                if (progress && filesDone + fileRead >= nextProgress) {
                    progress(filesDone + fileRead, total);
                    nextProgress = filesDone + fileRead + kProgressStep;
                }
                lines.add(piece, offset);
                return true;
            });
        lines.flush();
        filesDone += fileRead;
        if (stopped || (cancelled != nullptr && cancelled->load())) {
            return nullptr;
        }
        if (report->m_details.size() == firstDetail) {
            report->m_files.closeLast(); // nothing to read again
            report->m_fileStart.pop_back();
        } else {
            const std::uint64_t last = report->m_details.back().place;
            report->m_files.stamp(*file, last >> Report::kPlaceLengthBits,
                                  last & Report::kPlaceLengthMask);
        }
    }
    report->indexGroups();
    if (progress) {
        progress(filesDone, total);
    }
    return report;
}

std::vector<std::string> ReportEngine::logChoices(const std::string& dataDirectory) {
    std::vector<std::string> choices{std::string(kAllLogs)};
    if (const Result<std::vector<std::string>> names = listLogFiles(dataDirectory)) {
        for (const std::string& name : *names) {
            choices.emplace_back(withoutPathExtension(name));
        }
    }
    return choices;
}

} // namespace velmora
