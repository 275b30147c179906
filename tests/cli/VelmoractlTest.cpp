#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/Cli.h"
#include "cli/JsonValue.h"
#include "core/archive/KeyedArchive.h"
#include "core/settings/SettingsStore.h"
#include "core/system/ProcessTable.h"
#include "support/TempDir.h"
#include "support/UdpReceiver.h"

namespace velmora {
namespace {

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
    EXPECT_EQ(run({"settings", "get", "custom"}).out, "\"kept\"\n");
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
