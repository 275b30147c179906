#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/Cli.h"
#include "cli/JsonValue.h"
#include "core/archive/KeyedArchive.h"
#include "core/eventlog/LogDirectory.h"
#include "core/settings/SettingsStore.h"
#include "core/system/ProcessTable.h"
#include "support/TempDir.h"
#include "support/UdpReceiver.h"

namespace velmora {
namespace {

using namespace std::string_literals;
using test::readBytes;
using test::TempDir;
using test::writeFile;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class VelmoractlTest : public ::testing::Test {
protected:
    TempDir dir;

    Outcome run(std::vector<std::string> arguments, const std::string& input = {},
                const char* variable = nullptr) {
        std::istringstream in(input);
        std::ostringstream out;
        std::ostringstream err;
        if (variable == nullptr) {
            arguments.insert(arguments.begin(), {"--data-dir", dir.str()});
        }
        const int status = cli::run(arguments, {in, out, err, variable});
        return {status, out.str(), err.str()};
    }

    std::filesystem::path ini() const { return dir / "Velmora.ini"; }
};

TEST_F(VelmoractlTest, LoadThenDumpGivesTheSameValues) {
    const std::string json = R"({
  "dateFormat": "yyyy-MM-dd HH:mm:ss",
  "hostsDisplay": true,
  "severityEmergency": 2,
  "popupEvents": -3,
  "textLocation": "/tmp/events → ü.csv",
  "popupDisplayArray": ["Emergency", "Alert"],
  "actionsArray": [
    {
      "Name": "Page",
      "IP": "0.0.0.0",
      "Mask": "0",
      "runCommand": {},
      "sendEmail": {
        "Recipients": ["a@b"]
      }
    }
  ],
  "ratio": 1.5
}
)";
    writeFile(dir / "settings.json", json);
    const Outcome loaded = run({"settings", "load", (dir / "settings.json").string()});
    ASSERT_EQ(loaded.status, 0) << loaded.err;
    const Outcome dumped = run({"settings", "dump"});
    ASSERT_EQ(dumped.status, 0) << dumped.err;
    // Same values, same key order.
    EXPECT_EQ(cli::parseJson(dumped.out).value(), cli::parseJson(json).value()) << dumped.out;
}

TEST_F(VelmoractlTest, LoadFromStandardInputWritesTheReloadCommand) {
    writeFile(dir / "Velmora.set", "");
    ASSERT_EQ(run({"settings", "load", "-"}, R"({"popupEvents": 10})").status, 0);
    EXPECT_EQ(readBytes(dir / "Velmora.set"), reloadCommand());
    EXPECT_EQ(run({"settings", "get", "popupEvents"}).out, "10\n");
}

TEST_F(VelmoractlTest, BadInputIsRefusedAndNothingIsWritten) {
    writeFile(dir / "Velmora.set", "");
    struct Case {
        std::vector<std::string> arguments;
        std::string input;
        int status;
    };
    const Case cases[] = {
        {{"settings", "load", "-"}, "{\"a\": ", 2},
        {{"settings", "load", "-"}, "[1, 2]", 2},
        {{"settings", "load", "-"}, "{\"a\": null}", 2},
        {{"settings", "load", "-"}, "{\"a\": 18446744073709551615}", 2},
        {{"settings", "load", "/nonexistent/file.json"}, "", 2},
        {{"settings", "set", "popupEvents", "abc"}, "", 2},
        {{"settings", "set", "popupEvents", "12abc"}, "", 2},
        {{"settings", "set", "hostsDisplay", "maybe"}, "", 2},
        {{"settings", "set", "popupPlayArray", "{}"}, "", 2},
        {{"settings", "set", "noSuchKey", "1"}, "", 2},
        {{"settings", "get", "noSuchKey"}, "", 2},
        {{"settings", "frobnicate"}, "", 2},
        {{"frobnicate"}, "", 2},
        {{}, "", 2},
        {{"settings", "dump"}, "", 1},
        // Deeper than an archive may nest: it could never be read back.
        {{"settings", "load", "-"},
         "{\"a\": " + std::string(300, '[') + std::string(300, ']') + "}",
         2},
        {{"events", "--csv"}, "", 2},
        {{"counts", "extra"}, "", 2},
    };
    for (const Case& c : cases) {
        const Outcome outcome = run(c.arguments, c.input);
        EXPECT_EQ(outcome.status, c.status) << c.input << " " << outcome.err;
        EXPECT_FALSE(outcome.err.empty());
        EXPECT_FALSE(std::filesystem::exists(ini()));
        EXPECT_TRUE(readBytes(dir / "Velmora.set").empty());
    }
    EXPECT_EQ(run({"settings", "dump"}).err,
              "velmoractl: no settings file at " + ini().string() + "\n");
}

TEST_F(VelmoractlTest, GetShowsWhatTheReadersSee) {
    // No file: the defaults.
    EXPECT_EQ(run({"settings", "get", "severityEmergency"}).out, "2\n");
    EXPECT_EQ(run({"settings", "get", "actionsFormatSubject"}).out, "\"$message\"\n");
    // A file without the keys: 0, false, "" and [], except the corrected mail port.
    ASSERT_EQ(run({"settings", "load", "-"}, R"({"custom": "kept"})").status, 0);
    EXPECT_EQ(run({"settings", "get", "severityEmergency"}).out, "0\n");
    EXPECT_EQ(run({"settings", "get", "hostsDisplay"}).out, "false\n");
    EXPECT_EQ(run({"settings", "get", "popupSound"}).out, "\"\"\n");
    EXPECT_EQ(run({"settings", "get", "actionsArray"}).out, "[]\n");
    EXPECT_EQ(run({"settings", "get", "actionsEmailPort"}).out, "25\n");
    // A key no reader knows is refused, even when the file holds it.
    EXPECT_EQ(run({"settings", "get", "custom"}).status, 2);
}

TEST_F(VelmoractlTest, SetTypesTheValueByItsKeyAndKeepsTheRest) {
    ASSERT_EQ(run({"settings", "set", "popupEvents", "10"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "hostsDisplay", "true"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "dateFormat", "dd.MM.yyyy h:mm:ss AM/PM"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "popupPlayArray", R"(["Error","Debug"])"}).status, 0);
    const Dictionary stored = SettingsStore(dir.str()).readDictionary().value();
    EXPECT_EQ(stored, (Dictionary{{"popupEvents", 10},
                                  {"hostsDisplay", true},
                                  {"dateFormat", "dd.MM.yyyy h:mm:ss AM/PM"},
                                  {"popupPlayArray", Array{Value("Error"), Value("Debug")}}}));
}

TEST_F(VelmoractlTest, ADamagedSettingsFileIsReportedAndNeverOverwrittenBySet) {
    writeFile(ini(), "not an archive");
    EXPECT_EQ(run({"settings", "dump"}).status, 1);
    EXPECT_EQ(run({"settings", "set", "popupEvents", "1"}).status, 1);
    EXPECT_EQ(test::readFile(ini()), "not an archive");
}

TEST_F(VelmoractlTest, StatusSumsUpWhatTheHomePageShows) {
    writeFile(dir / "events.log", "1700000000,Kern.Warning,10.0.0.1,disk\n"
                                  "1700000001,Error.Alert,10.0.0.1,twice counted\n"
                                  "1700000002,Foo.Bar,10.0.0.2,unknown\n");
    // A file without the other levels reads them as 0: only the Warning raises the level.
    const Dictionary action{{"Name", "Idle"}, {"runCommand", Dictionary{}}};
    ASSERT_TRUE(SettingsStore(dir.str())
                    .saveDictionary(Dictionary{{"severityWarning", 1},
                                               {"actionsArray", Array{action}},
                                               {"textInterval", 0},
                                               {"databaseInterval", 5}})
                    .ok());

    const Outcome outcome = run({"status"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    cli::Json status = cli::parseJson(outcome.out).value();
    const bool running = isProcessRunning("VelmoraSrv");
    EXPECT_EQ(status["server"],
              cli::Json::parse(running ? R"({"running":true,"status":"Running"})"
                                       : R"({"running":false,"status":"Stopped"})"));
    status.erase("server");
    EXPECT_EQ(status, cli::Json::parse(R"({
      "actions": {"enabled": true, "status": "Actions enabled"},
      "export": {"enabled": true, "status": "Export enabled"},
      "level": {"value": 1, "name": "Moderate", "sentence": "Review potentialy unwanted events."},
      "counts": {"Emergency": 0, "Alert": 1, "Critical": 0, "Error": 1, "Warning": 1,
                 "Notice": 0, "Information": 0, "Debug": 0, "Unknown": 1}})"))
        << outcome.out;
}

TEST_F(VelmoractlTest, StatusWithoutSettingsUsesTheDefaultLevels) {
    writeFile(dir / "events.log", "1700000000,Kern.Critical,10.0.0.1,fan\n");
    const Outcome outcome = run({"status"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const cli::Json status = cli::parseJson(outcome.out).value();
    EXPECT_EQ(status["actions"]["status"], "Do not use actions");
    EXPECT_EQ(status["export"]["status"], "Do not use export");
    EXPECT_EQ(status["level"]["name"], "Severe");
    EXPECT_EQ(status["level"]["sentence"], "Review harmful or potentialy unwanted events.");
    EXPECT_EQ(run({"status", "--all"}).status, 2);
}

TEST_F(VelmoractlTest, ReportPrintsEveryGroupOpenInTheConfiguredDateFormat) {
    writeFile(dir / "a.log", "1700000000,User.Notice,h1,one, two\n"
                             "1700000001,Kern.Error,h2,say \"hi\"\n"
                             "1700000002,User.Notice,h1,four\n");
    writeFile(dir / "b.log", "1700000003,User.Notice,h3,other file\n");
    ASSERT_EQ(run({"settings", "set", "dateFormat", "HH:mm:ss"}).status, 0);

    const Outcome text = run({"report", "--by", "host", "--log", "a"});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out, "Host\tDate\tPriority\tMessage\n"
                        "h1\t\t\t\n"
                        "\t22:13:20\tUser.Notice\tone, two\n"
                        "\t22:13:22\tUser.Notice\tfour\n"
                        "h2\t\t\t\n"
                        "\t22:13:21\tKern.Error\tsay \"hi\"\n");

    const Outcome json = run({"report", "--by=priority", "--json", "--log=a"});
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_EQ(json.out, R"({"key":"User.Notice","details":[["22:13:20","h1","one, two"],)"
                        R"(["22:13:22","h1","four"]]})"
                        "\n"
                        R"({"key":"Kern.Error","details":[["22:13:21","h2","say \"hi\""]]})"
                        "\n");
    // Without --log, every log file.
    EXPECT_EQ(run({"report", "--by", "date", "--json"}).out.find("other file") != std::string::npos,
              true);

    for (const std::vector<std::string>& bad :
         std::vector<std::vector<std::string>>{{"report"},
                                               {"report", "--by"},
                                               {"report", "--by", "size"},
                                               {"report", "--by", "host", "--log"},
                                               {"report", "--by", "host", "extra"}}) {
        const Outcome outcome = run(bad);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_TRUE(outcome.out.empty());
    }
}

TEST_F(VelmoractlTest, DataDirectoryFromTheEnvironmentAndHelp) {
    const std::string variable = dir.str();
    ASSERT_EQ(run({"settings", "set", "popupEvents", "3"}, "", variable.c_str()).status, 0);
    EXPECT_TRUE(std::filesystem::exists(ini()));
    EXPECT_EQ(run({"--help"}).status, 0);
    EXPECT_NE(run({"--help"}).out.find("settings dump"), std::string::npos);
    EXPECT_EQ(run({"--version"}).out.rfind("velmoractl ", 0), 0u);
    EXPECT_EQ(run({"--bogus"}).status, 2);
    EXPECT_EQ(run({"settings", "dump", "--data-dir"}).status, 2);
}

// A directory of awkward log files, read as the console reads it at start.
class VelmoractlEventsTest : public VelmoractlTest {
protected:
    void SetUp() override {
        const std::string longFirst = "1700000004,Kern.Error,h," + std::string(1100, 'x') + "\n";
        // The second piece of this line has four fields of its own: a spurious event.
        const std::string longSplit =
            "1700000005,User.Notice,h," + std::string(1023 - 25, 'y') + "9,P.Debug,H,tail\n";
        writeFile(dir / "a.log", "1700000000,Local7.Debug,10.0.0.1,a, b, c\n"
                                 "1700000000,,10.0.0.1,three fields\n"
                                 ",,1700000001,Local7.Informational,h,leading commas\r\n"
                                 "1700000002.5,Error.Alert,h,\xFF bad byte\n"
                                 "1700000003,Auth.Information,h,tab\there\n" +
                                     longFirst + longSplit +
                                     "1700000006,Local7.Warning,h,before\0after\n"s +
                                     "1700000007,Local7.Notice,h,last");
        // CR-only line ends: one piece, of which only the first event counts.
        writeFile(dir / "e.log",
                  "1700000010,Local7.Critical,h,m1\r1700000011,Local7.Critical,h,m2\r");
        writeFile(dir / "b.LOG", "1700000020,Kern.Emergency,h,not read\n");
        writeFile(dir / "c.log.1", "1700000021,Kern.Emergency,h,not read\n");
        std::filesystem::create_directory(dir / "d.log");
    }

    // The expected lines, newest first: the files in listing order, each line after the last.
    std::string expected(const std::map<std::string, std::vector<std::string>>& byFile) const {
        std::vector<std::string> lines;
        const std::vector<std::string> names = listLogFiles(dir.str()).value();
        for (const std::string& name : names) {
            const auto found = byFile.find(name);
            if (found != byFile.end()) {
                lines.insert(lines.end(), found->second.begin(), found->second.end());
            }
        }
        std::string out;
        for (auto it = lines.rbegin(); it != lines.rend(); ++it) {
            out += *it + "\n";
        }
        return out;
    }
};

TEST_F(VelmoractlEventsTest, RawDatesAsJsonLines) {
    const Outcome outcome = run({"events", "--raw-dates", "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::string j = R"({"Date":")";
    EXPECT_EQ(
        outcome.out,
        expected(
            {{"a.log",
              {j + R"(1700000000","Priority":"Local7.Debug","Host":"10.0.0.1","Message":"a, b, c"})",
               j + R"(1700000001","Priority":"Local7.Informational","Host":"h","Message":"leading commas"})",
               j + "1700000002.5\",\"Priority\":\"Error.Alert\",\"Host\":\"h\",\"Message\":"
                   "\"\xEF\xBF\xBD bad byte\"}",
               j + R"(1700000003","Priority":"Auth.Information","Host":"h","Message":"tab\there"})",
               j + R"(1700000004","Priority":"Kern.Error","Host":"h","Message":")" +
                   std::string(1023 - 24, 'x') + "\"}",
               j + R"(1700000005","Priority":"User.Notice","Host":"h","Message":")" +
                   std::string(1023 - 25, 'y') + "\"}",
               j + R"(9","Priority":"P.Debug","Host":"H","Message":"tail"})",
               j + R"(1700000006","Priority":"Local7.Warning","Host":"h","Message":"before"})",
               j + R"(1700000007","Priority":"Local7.Notice","Host":"h","Message":"last"})"}},
             {"e.log",
              {j + R"(1700000010","Priority":"Local7.Critical","Host":"h","Message":"m1"})"}}}));
}

TEST_F(VelmoractlEventsTest, DisplayDatesAsTabSeparatedLines) {
    ASSERT_EQ(run({"settings", "set", "dateFormat", "dd.MM.yyyy h:mm:ss AM/PM"}).status, 0);
    const Outcome outcome = run({"events"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    // A time stamp with a fraction is not digits only: the first showing leaves it as it is.
    const std::string text = outcome.out;
    EXPECT_NE(text.find("14.11.2023 10:13:20 PM\tLocal7.Debug\t10.0.0.1\ta, b, c\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("1700000002.5\tError.Alert\th\t\xEF\xBF\xBD bad byte\n"),
              std::string::npos);
    EXPECT_NE(text.find("01.01.1970 12:00:09 AM\tP.Debug\tH\ttail\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10);
}

TEST_F(VelmoractlEventsTest, CountsEveryWordOfEveryEvent) {
    const Outcome outcome = run({"counts"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, R"({"Emergency":0,"Alert":1,"Critical":1,"Error":2,"Warning":1,)"
                           R"("Notice":2,"Information":1,"Debug":2,"Unknown":1})"
                           "\n");
}

TEST_F(VelmoractlTest, TestMessageSendsTheConsolesDatagram) {
    const test::UdpReceiver server;
    const std::string port = std::to_string(server.port());
    const Outcome sent = run({"test-message", "--host", "127.0.0.1", "--port", port});
    ASSERT_EQ(sent.status, 0) << sent.err;
    EXPECT_EQ(server.receive(), "<191>Kestrix Velmora - Test message");

    EXPECT_EQ(run({"test-message", "--port", "0"}).status, 2);
    EXPECT_EQ(run({"test-message", "--port", "65536"}).status, 2);
    EXPECT_EQ(run({"test-message", "--host", "localhost"}).status, 2);
    EXPECT_EQ(run({"test-message", "extra"}).status, 2);
}

} // namespace
} // namespace velmora
