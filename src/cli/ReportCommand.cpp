#include <array>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/Commands.h"
#include "cli/JsonValue.h"
#include "core/reports/ReportEngine.h"
#include "core/settings/RuntimeSettings.h"

namespace velmora::cli {

namespace {

constexpr const char* kReportUsage =
    "usage: report --by host|message|priority|date [--log NAME] [--json]";
constexpr std::size_t kFlushBytes = std::size_t{1} << 16;

std::optional<ReportGrouping> groupingNamed(std::string_view name) {
    static constexpr std::array<std::string_view, kReportGroupingCount> kNames = {
        "host", "message", "priority", "date"};
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        if (name == kNames[i]) {
            return static_cast<ReportGrouping>(i);
        }
    }
    return std::nullopt;
}

struct ReportArguments {
    std::optional<ReportGrouping> grouping;
    std::string logName = std::string(kAllLogs);
    bool json = false;
};

// An option's value, given as "--name VALUE" or "--name=VALUE".
std::optional<std::string> optionValue(const std::vector<std::string>& arguments, std::size_t& i,
                                       std::string_view name) {
    const std::string& a = arguments[i];
    if (a == name && i + 1 < arguments.size()) {
        return arguments[++i];
    }
    if (a.size() > name.size() && a.starts_with(name) && a[name.size()] == '=') {
        return a.substr(name.size() + 1);
    }
    return std::nullopt;
}

std::optional<ReportArguments> parseArguments(const std::vector<std::string>& arguments) {
    ReportArguments parsed;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--json") {
            parsed.json = true;
        } else if (const auto by = optionValue(arguments, i, "--by")) {
            parsed.grouping = groupingNamed(*by);
            if (!parsed.grouping) {
                return std::nullopt;
            }
        } else if (const auto log = optionValue(arguments, i, "--log")) {
            parsed.logName = *log;
        } else {
            return std::nullopt;
        }
    }
    return parsed.grouping ? std::optional(parsed) : std::nullopt;
}

// Output in pieces of some kilobytes: a group may hold millions of rows.
class Output {
public:
    explicit Output(std::ostream& stream)
        : m_stream(stream) {}
    ~Output() { m_stream << m_text; }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::string& text() { return m_text; }
    void flushIfFull() {
        if (m_text.size() >= kFlushBytes) {
            m_stream << m_text;
            m_text.clear();
        }
    }

private:
    std::ostream& m_stream;
    std::string m_text;
};

// As the page's "txt" export of the report with every group open: the column titles, then each
// group's key and three empty fields, and under it its detail rows, each an empty field and
// three texts.
void writeText(Output& output, const Report& report) {
    std::string& out = output.text();
    const std::array<std::string_view, 4> titles = reportColumnTitles(report.grouping());
    for (std::size_t column = 0; column < titles.size(); ++column) {
        out.append(titles[column]).append(column + 1 < titles.size() ? "\t" : "\n");
    }
    for (std::uint32_t g = 0; g < report.groupCount(); ++g) {
        out.append(report.groupKey(GroupId{g})).append("\t\t\t\n");
        for (const DetailId detail : report.groupDetails(GroupId{g})) {
            for (int column = 1; column <= 3; ++column) {
                out.append("\t").append(report.detailText(detail, column));
            }
            out += '\n';
            output.flushIfFull();
        }
    }
}

// One JSON object a line: {"key": KEY, "details": [[SECOND, THIRD, FORTH], ...]}.
void writeJson(Output& output, const Report& report) {
    std::string& out = output.text();
    for (std::uint32_t g = 0; g < report.groupCount(); ++g) {
        out += "{\"key\":";
        appendJsonString(out, report.groupKey(GroupId{g}));
        out += ",\"details\":[";
        const char* separator = "";
        for (const DetailId detail : report.groupDetails(GroupId{g})) {
            out.append(separator).append("[");
            separator = ",";
            for (int column = 1; column <= 3; ++column) {
                appendJsonString(out, report.detailText(detail, column));
                out += column < 3 ? ',' : ']';
            }
            output.flushIfFull();
        }
        out += "]}\n";
    }
}

} // namespace

int reportCommand(const Context& context) {
    const std::optional<ReportArguments> arguments = parseArguments(context.arguments);
    if (!arguments) {
        return context.fail(kExitUsage, kReportUsage);
    }
    const RuntimeSettings runtime = RuntimeSettings::load(context.store.readDictionary());
    const std::unique_ptr<Report> report =
        ReportEngine({context.store.dataDirectory(), arguments->logName, *arguments->grouping,
                      runtime.newDateFormat})
            .build();
    Output output(context.out());
    if (arguments->json) {
        writeJson(output, *report);
    } else {
        writeText(output, *report);
    }
    return kExitOk;
}

} // namespace velmora::cli
