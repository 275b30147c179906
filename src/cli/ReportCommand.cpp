#include <algorithm>
#include <array>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/Commands.h"
#include "cli/JsonValue.h"
#include "core/reports/ReportEngine.h"
#include "core/reports/ReportExport.h"
#include "core/reports/ReportTable.h"
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

// As the page's "txt" export of the report with every group open: the column titles, then each
// group's key and three empty fields, and under it its detail rows, each an empty field and
// three texts.
void writeText(std::ostream& out, const ReportTable& table) {
    std::array<std::string, 4> titles;
    const std::array<std::string_view, 4> names = reportColumnTitles(table.report()->grouping());
    std::copy(names.begin(), names.end(), titles.begin());
    [[maybe_unused]] const Status written =
        writeReportTable(table, titles, '\t', [&](std::string_view block) -> Status {
            out << block;
            return {};
        });
}

// One JSON object a line: {"key": KEY, "details": [[SECOND, THIRD, FORTH], ...]}.
void writeJson(std::ostream& stream, const ReportTable& table) {
    std::string out;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (!table.prepared(row)) {
            table.prepare(row);
        }
        if (table.groupAt(row)) {
            out += row == 0 ? "{\"key\":" : "]}\n{\"key\":";
            appendJsonString(out, table.cellText(row, 0));
            out += ",\"details\":[";
        } else {
            out += table.groupAt(row - 1) ? "[" : ",[";
            for (int column = 1; column <= 3; ++column) {
                appendJsonString(out, table.cellText(row, column));
                out += column < 3 ? ',' : ']';
            }
        }
        if (out.size() >= kFlushBytes) {
            stream << out;
            out.clear();
        }
    }
    stream << out << (table.size() > 0 ? "]}\n" : "");
}

} // namespace

int reportCommand(const Context& context) {
    const std::optional<ReportArguments> arguments = parseArguments(context.arguments);
    if (!arguments) {
        return context.fail(kExitUsage, kReportUsage);
    }
    const RuntimeSettings runtime = RuntimeSettings::load(context.store.readDictionary());
    ReportTable table(ReportEngine({context.store.dataDirectory(), arguments->logName,
                                    *arguments->grouping, runtime.newDateFormat})
                          .build());
    table.openAll();
    if (arguments->json) {
        writeJson(context.out(), table);
    } else {
        writeText(context.out(), table);
    }
    return kExitOk;
}

} // namespace velmora::cli
