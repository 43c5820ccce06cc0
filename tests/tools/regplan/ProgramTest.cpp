#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "machine/simulated/simulated_machine.hpp"
#include "tests/tools/regplan/program_fixture.hpp"
#include "tools/regplan/plan_errors.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using golden::readBytes;
using golden::writeBytes;
using Program = ProgramTest;

constexpr std::string_view samplePlan = R"({
  "options": { "metadataRootPath": "C:\\Vortan" },
  "commands": [
    { "command": "AddVTPathEntriesToMetadataFile" },
    { "command": "SetRegistryKeys", "registryKeys": [
      { "root": "HKEY_LOCAL_MACHINE", "keyPath": "SOFTWARE\\Brantix\\Vortan",
        "valueName": "Größe", "value": "25.1" } ] },
    { "command": "UpdatePathEnvironmentVariable", "pathEntry": "C:\\Vortan\\bin",
      "productVersion": "25.1.0.1", "executableName": "vortan.exe" }
  ]
})";

void layOutSample() {
  writeBytes("plan.json", samplePlan);
  writeBytes("machine/C/Vortan/part/list.phl", "toolbox/general\nno/such/folder\n");
  fs::create_directories("machine/C/Vortan/toolbox/general");
}

TEST_F(Program, ShowsItsHelp) {
  EXPECT_EQ(regplan({"--help"}), 0);
  expectGolden("help.txt", out);
  EXPECT_EQ(err, "");
}

TEST_F(Program, ShowsTheHelpOfAVerb) {
  EXPECT_EQ(regplan({"run", "--help"}), 0);
  expectGolden("help-run.txt", out);
}

TEST_F(Program, ShowsTheHelpOfPreviewAndRestore) {
  EXPECT_EQ(regplan({"preview", "--help"}), 0);
  expectGolden("help-preview.txt", out);
  EXPECT_EQ(regplan({"restore", "--help"}), 0);
  expectGolden("help-restore.txt", out);
}

TEST_F(Program, ShowsItsVersion) {
  EXPECT_EQ(regplan({"--version"}), 0);
  EXPECT_EQ(out, "regplan " REGPLAN_VERSION "\n");
}

TEST_F(Program, ListsWhatPlansMayContain) {
  EXPECT_EQ(regplan({"list"}), 0);
  expectGolden("list.txt", out);
}

TEST_F(Program, PrintsTheSchemaOfPlans) {
  EXPECT_EQ(regplan({"schema"}), 0);
  EXPECT_EQ(out, readBytes(REGPLAN_SCHEMA));
}

TEST_F(Program, PrintsTheSchemasOfReportsAndEvents) {
  EXPECT_EQ(regplan({"schema", "--report"}), 0);
  EXPECT_EQ(out, readBytes(REPORT_SCHEMA));
  EXPECT_EQ(regplan({"schema", "--events"}), 0);
  EXPECT_EQ(out, readBytes(EVENT_SCHEMA));
}

TEST_F(Program, RunsAPlan) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine"}), 0);
  expectGolden("run.txt", out);
  expectGolden("run-log.txt",
               logWithoutTimes(readBytes("machine/C/ProgramData/Vortan/registration.log")));
  EXPECT_EQ(err, "");
  EXPECT_TRUE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
  EXPECT_THAT(readBytes("machine/registry.json"), HasSubstr("25.1"));
}

TEST_F(Program, UndoesAPlan) {
  layOutSample();
  ASSERT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log"}), 0);
  EXPECT_EQ(regplan({"undo", "plan.json", "--machine", "machine", "--no-log"}), 0);
  expectGolden("undo.txt", out);
  EXPECT_THAT(readBytes("machine/registry.json"), Not(HasSubstr("25.1")));
  EXPECT_FALSE(fs::exists("machine/C/ProgramData/Vortan"));
}

TEST_F(Program, GoesOnAfterAFailedCommand) {
  writeBytes("plan.json", R"({
    "options": { "metadataRootPath": "C:\\missing" },
    "commands": [
      { "command": "SetRegistryKeys", "registryKeys": [
        { "root": "HKEY_LOCAL_MACHINE", "keyPath": "SOFTWARE", "valueName": "a", "value": "b" } ] },
      { "command": "AddVTPathEntriesToMetadataFile" },
      { "command": "UpdatePathEnvironmentVariable", "pathEntry": "C:\\Vortan\\bin",
        "productVersion": "1", "executableName": "vortan.exe" } ] })");
  EXPECT_EQ(regplan({"undo", "plan.json", "--machine", "machine"}), 1);
  expectGolden("failing.txt", out);
}

TEST_F(Program, RunsAPlanWithoutCommands) {
  writeBytes("plan.json", R"({"commands":[]})");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log"}), 0);
  EXPECT_EQ(out,
            "Running plan.json, 0 commands, on the simulated machine machine\n"
            "\n0 commands: nothing to do\n");
}

TEST_F(Program, RefusesABadPlanAndRunsNothingOfIt) {
  writeBytes("plan.json", R"({"commands":[
    {"command":"SetRegistryKeys","registryKeys":[{"root":"HKEY_USERS","keyPath":"k",
      "valueName":"never","value":"v"}]},
    {"command":"SetRegistryKeys","registryKeys":[]}, {"command":"x"}]})");
  for (std::string const verb : {"run", "undo"}) {
    EXPECT_EQ(regplan({verb, "plan.json", "--machine", "machine"}), 2);
    EXPECT_THAT(err, StartsWith("plan.json: /commands/1: Exception occured while creating the "
                                "registry keys command : Registry Key Value list cannot be empty\n"
                                "plan.json: /commands/2/command: unknown command \"x\"; known: "));
    EXPECT_EQ(out, "");
  }
  EXPECT_THAT(readBytes("machine/registry.json"), Not(HasSubstr("never")));
  EXPECT_FALSE(fs::exists("machine/C/ProgramData/Vortan"));
}

TEST_F(Program, ValidatesWithoutAMachine) {
  writeBytes("good.json", samplePlan);
  writeBytes("bad.json", "{}");
  EXPECT_EQ(regplan({"validate", "good.json"}), 0);
  EXPECT_EQ(out, "good.json: valid, 3 commands\n");
  EXPECT_EQ(regplan({"validate", "bad.json"}), 2);
  EXPECT_EQ(err, "bad.json: /commands: missing; a plan needs a list of commands\n");
  EXPECT_EQ(out, "");
}

TEST_F(Program, TakesNamesBeyondAscii) {
  writeBytes(fs::path(u8"Größe.json"), samplePlan);
  EXPECT_EQ(regplan({"validate", "Größe.json"}), 0);
  EXPECT_EQ(out, "Größe.json: valid, 3 commands\n");
}

TEST_F(Program, RefusesPlansItCannotRead) {
  EXPECT_EQ(regplan({"validate", "missing.json"}), 2);
  EXPECT_EQ(err, "missing.json: cannot be opened: No such file or directory\n");
  EXPECT_EQ(regplan({"validate", "machine"}), 2);
  EXPECT_THAT(err, StartsWith("machine: cannot be "));
}

TEST_F(Program, RefusesHugePlans) {
  std::string const plan = R"({"commands":[]})";
  writeBytes("large.json", plan + std::string(planSizeLimit - plan.size(), ' '));
  EXPECT_EQ(regplan({"validate", "large.json"}), 0);
  writeBytes("huge.json", plan + std::string(planSizeLimit - plan.size() + 1, ' '));
  EXPECT_EQ(regplan({"validate", "huge.json"}), 2);
  EXPECT_EQ(err, "huge.json: larger than 4194304 bytes, the most a plan may be\n");
}

TEST_F(Program, WritesTheLogWhereItIsTold) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--log", "C:\\logs\\Größe.log"}),
            0);
  EXPECT_THAT(out, HasSubstr("Log: C:\\logs\\Größe.log\n"));
  EXPECT_THAT(readBytes(fs::path(u8"machine/C/logs/Größe.log")),
              HasSubstr("Adding path entries to metadata file\n"));
  EXPECT_FALSE(fs::exists("machine/C/ProgramData/Vortan"));
}

TEST_F(Program, AppendsToTheLog) {
  layOutSample();
  regplan({"run", "plan.json", "--machine", "machine"});
  regplan({"undo", "plan.json", "--machine", "machine"});
  std::string const log =
      logWithoutTimes(readBytes("machine/C/ProgramData/Vortan/registration.log"));
  EXPECT_THAT(log, StartsWith("AddVTPathEntriesToMetadataFile: execute\n"));
  EXPECT_THAT(log, HasSubstr("SetRegistryKeys: undo\n"));
}

TEST_F(Program, GoesOnWithoutALogThatCannotBeOpened) {
  layOutSample();
  writeBytes("machine/C/logs", "a file where a folder should be");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--log", "C:\\logs\\a.log"}), 0);
  EXPECT_THAT(out, HasSubstr("No log is written:\n"
                             "  Unable to create specified folder for installation log C:\\logs\n"
                             "  Reset destination file log (none)\n"));
  EXPECT_THAT(out, HasSubstr("3 commands: 3 done"));
}

TEST_F(Program, RefusesBadCommandLines) {
  std::vector<std::pair<std::vector<std::string>, std::string>> const lines = {
      {{}, "a verb is needed: preview, run, undo, restore, validate, list or schema"},
      {{"diff"},
       "unknown verb \"diff\"; known: preview, run, undo, restore, validate, list, schema"},
      {{"ruin", "a"},
       "unknown verb \"ruin\"; did you mean \"run\"? Known: preview, run, undo, restore, "
       "validate, list, schema"},
      {{"run"}, "PLAN is required"},
      {{"run", "a", "b\x1b"}, "not expected: \"b\\u001B\""},
      {{"list", "a"}, "not expected: \"a\""},
      {{"run", "a", "--machin", "b"}, "not expected: \"--machin\" \"b\""},
      {{"run", "a", "--machine"}, "--machine: 1 required DIR missing"},
      {{"run", "a", "--log", "b", "--no-log"}, "--log excludes --no-log"},
      {{"run", "a", "--quiet", "--verbose"}, "--quiet excludes --verbose"},
      {{"run", "a", "--verbose", "--quiet"}, "--quiet excludes --verbose"},
      {{"preview", "a", "--journal", "b"}, "not expected: \"--journal\" \"b\""},
      {{"preview", "a", "--log", "b"}, "not expected: \"--log\" \"b\""},
      {{"restore"}, "FILE is required"},
      {{"schema", "--report", "--events"}, "--report excludes --events"}};
  for (auto const& [arguments, reason] : lines) {
    EXPECT_EQ(regplan(arguments), 2);
    EXPECT_EQ(err, "regplan: " + reason + "\nRun \"regplan --help\" for what it takes.\n");
    EXPECT_EQ(out, "");
  }
}

TEST_F(Program, RefusesAMachineThatIsNoFolder) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "nowhere"}), 2);
  EXPECT_EQ(err, "regplan: --machine: nowhere is not an existing folder\n");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "plan.json"}), 2);
  EXPECT_FALSE(fs::exists("nowhere"));
}

TEST_F(Program, RefusesADamagedMachine) {
  layOutSample();
  writeBytes("machine/registry.json", "{");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine"}), 2);
  EXPECT_THAT(err, StartsWith("regplan: "));
  EXPECT_EQ(readBytes("machine/registry.json"), "{");
}

TEST_F(Program, PreviewsAPlanAndChangesNothing) {
  layOutSample();
  ASSERT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  auto const before = golden::readTree("machine");
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  expectGolden("preview.txt", out);
  EXPECT_EQ(golden::readTree("machine"), before);
  EXPECT_FALSE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
  EXPECT_FALSE(fs::exists("machine/C/ProgramData/Vortan"));
}

constexpr std::string_view handingOverPlan = R"({
  "options": { "rootPath": "C:\\Vortan" },
  "commands": [
    { "command": "RegisterDlls", "files": ["C:\\Vortan\\a.dll"] },
    { "command": "SetRegistryKeys", "registryKeys": [
      { "root": "HKEY_LOCAL_MACHINE", "keyPath": "SOFTWARE", "valueName": "a", "value": "b" } ] }
  ]
})";

TEST_F(Program, APreviewSaysWhereForeignCodeTakesOver) {
  writeBytes("plan.json", handingOverPlan);
  writeBytes("machine/C/Windows/System32/regsvr32.exe", "MZ");
  writeBytes("machine/C/Vortan/a.dll", "MZ");
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  EXPECT_THAT(
      out,
      HasSubstr(
          "hands over to foreign code, whose changes are not listed and not restorable: program "
          "opened by the shell C:\\Windows\\System32\\regsvr32.exe"));
  EXPECT_THAT(out, HasSubstr("\n      hands over in 0.015 s\n"));
  EXPECT_THAT(out, HasSubstr("2 commands: 1 hands over, 1 done, in 0.030 s; 1 change "
                             "foreseen, none made\n"));
}

TEST_F(Program, APreviewShowsACommandsOwnFailures) {
  writeBytes("plan.json", R"({ "options": { "metadataRootPath": "C:\\missing" },
    "commands": [ { "command": "AddVTPathEntriesToMetadataFile" } ] })");
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  EXPECT_THAT(out, HasSubstr("1 command: 1 done with problems, in 0.015 s; 0 changes "
                             "foreseen, none made\n"));
}

TEST_F(Program, WritesReportsOfARun) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--report", "a.html", "--report",
                     "b.json"}),
            0);
  expectGolden("run.txt", out);
  auto const report = nlohmann::json::parse(readBytes("b.json"));
  EXPECT_EQ(report["summary"]["text"], "All 3 commands done");
  EXPECT_EQ(report["request"]["options"]["metadataRootPath"], "C:\\Vortan");
  EXPECT_EQ(report["request"]["log"], "C:\\ProgramData\\Vortan\\registration.log");
  EXPECT_EQ(report["commands"][2]["arguments"]["productVersion"], "25.1.0.1");
  auto const& change = report["commands"][0]["changes"][0];
  EXPECT_EQ(change["where"], "C:\\Vortan\\ssiSearchFolders");
  EXPECT_EQ(change["before"], nullptr);
  EXPECT_EQ(change["after"]["text"], "toolbox/general\n");
  EXPECT_THAT(readBytes("a.html"), HasSubstr("<h1>Run of <bdi>plan.json</bdi></h1>"));
}

TEST_F(Program, RefusesReportsItCouldNotWriteBeforeAnythingIsDone) {
  layOutSample();
  std::vector<std::pair<std::string, std::string>> const reports = {
      {"a.txt", "a.txt must end in .html or .json"},
      {"none/a.html", "none/a.html cannot be written: No such file or directory"}};
  for (auto const& [file, reason] : reports) {
    EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--report", file}), 2);
    EXPECT_EQ(err, "regplan: --report: " + reason + "\n");
    EXPECT_EQ(out, "");
  }
  EXPECT_FALSE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
}

TEST_F(Program, QuietlyShowsTheSummaryOnly) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--quiet"}), 0);
  EXPECT_EQ(out, "3 commands: 3 done, in 0.045 s\n");
}

TEST_F(Program, VerboselyShowsChangesToo) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--verbose"}), 0);
  EXPECT_THAT(out, HasSubstr("        Adding path entries to metadata file\n"));
  EXPECT_THAT(out, HasSubstr("        + file C:\\Vortan\\ssiSearchFolders: 16 bytes\n"));
}

TEST_F(Program, VerboselyTellsTheSystemsGuards) {
  layOutSample();
  guards = {{"links are not followed", machine::GuardState::on},
            {"no code from servers", machine::GuardState::notOffered},
            {"a damaged heap ends the program", machine::GuardState::refused, "access denied"}};
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--verbose"}), 0);
  EXPECT_THAT(out, HasSubstr("\nGuard: links are not followed: on\n"
                             "Guard: no code from servers: not offered by this system\n"
                             "Guard: a damaged heap ends the program: refused by the system: "
                             "access denied\n"));
  EXPECT_THAT(readBytes("machine/C/ProgramData/Vortan/registration.log"), Not(HasSubstr("Guard")));
  EXPECT_EQ(regplan({"undo", "plan.json", "--machine", "machine"}), 0);
  EXPECT_THAT(out, Not(HasSubstr("Guard")));
}

/// Attack: whoever starts a plan without roots in a folder of his has his own code found there.
TEST_F(Program, RefusesAPlanThatTakesCodeFromWhereItHappensToStand) {
  writeBytes("plan.json", R"({ "commands": [
    { "command": "GenerateJavaClassPath" },
    { "command": "InstallDotNetAssemblyFiles", "files": ["C:\\Vortan\\a.dll"] },
    { "command": "LaunchCppMicroServicesCacheExecutable", "executablePath": "tool.exe" } ] })");
  writeBytes("machine/C/tool.exe", "MZ");
  for (std::vector<std::string> const& arguments :
       std::vector<std::vector<std::string>>{{"validate", "plan.json"},
                                             {"preview", "plan.json", "--machine", "machine"},
                                             {"run", "plan.json", "--machine", "machine"},
                                             {"undo", "plan.json", "--machine", "machine"}}) {
    EXPECT_EQ(regplan(arguments), 2);
    EXPECT_EQ(err,
              "plan.json: /options/rootPath: missing; GenerateJavaClassPath needs it\n"
              "plan.json: /options/bundleRootPath: missing; GenerateJavaClassPath needs it\n"
              "plan.json: /commands/2/executablePath: must be an absolute path, such as "
              "C:\\folder, not \"tool.exe\"\n");
  }
  EXPECT_THAT(readBytes("machine/modules.json"), Not(HasSubstr("classpath_services")));
}

TEST_F(Program, WritesNothingButEventsAsJson) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--json"}), 0);
  EXPECT_EQ(err, "Log: C:\\ProgramData\\Vortan\\registration.log\n");
  std::istringstream lines(out);
  std::vector<std::string> events;
  for (std::string line; std::getline(lines, line);) {
    events.push_back(nlohmann::json::parse(line).at("event"));
  }
  EXPECT_EQ(events.front(), "started");
  EXPECT_EQ(events.back(), "summary");
  for (std::string const kind : {"message", "change", "finished"}) {
    EXPECT_NE(std::ranges::find(events, kind), events.end()) << kind;
  }
}

TEST_F(Program, RestoresARunFromItsJournal) {
  layOutSample();
  ASSERT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  auto const before = golden::readTree("machine");
  ASSERT_EQ(
      regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal", "journal"}), 0);
  EXPECT_TRUE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine", "--report", "r.json"}), 0);
  expectGolden("restore.txt", out);
  auto after = golden::readTree("machine");
  // What the machine counts is no state that could be taken back.
  EXPECT_NE(after["environment.json"], before.at("environment.json"));
  after["environment.json"] = before.at("environment.json");
  EXPECT_EQ(after, before);
  auto const report = nlohmann::json::parse(readBytes("r.json"));
  EXPECT_EQ(report["request"]["verb"], "restore");
  EXPECT_EQ(report["summary"]["counts"]["failed"], 0);
}

TEST_F(Program, LeavesWhatOthersChangedUnlessForced) {
  layOutSample();
  ASSERT_EQ(
      regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal", "journal"}), 0);
  writeBytes("machine/C/Vortan/ssiSearchFolders", "mine\n");
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine"}), 1);
  EXPECT_THAT(out, HasSubstr("  left as it is: file C:\\Vortan\\ssiSearchFolders"));
  EXPECT_EQ(readBytes("machine/C/Vortan/ssiSearchFolders"), "mine\n");
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine", "--force", "--quiet"}), 0);
  EXPECT_THAT(out, HasSubstr("1 restored by force"));
  EXPECT_FALSE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
}

TEST_F(Program, SaysThatAJournalIsCutOff) {
  layOutSample();
  ASSERT_EQ(
      regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal", "journal"}), 0);
  fs::resize_file("journal", fs::file_size("journal") - 5);
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine", "--quiet"}), 1);
  EXPECT_EQ(out,
            "8 items: 6 restored, 2 already as before, in 0.015 s; the journal is not whole\n");
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine"}), 1);
  EXPECT_THAT(out,
              HasSubstr("The journal is not whole, what follows in it is not restored: record "));
}

TEST_F(Program, MakesTheFolderOfItsJournal) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal",
                     "new/folder/journal"}),
            0);
  EXPECT_TRUE(fs::exists("new/folder/journal"));
  EXPECT_EQ(regplan({"restore", "new/folder/journal", "--machine", "machine"}), 0) << out << err;
}

TEST_F(Program, RefusesToRestoreOnAnotherComputerUnlessToldTo) {
  layOutSample();
  fs::copy("machine", "other", fs::copy_options::recursive);
  for (std::string const machine : {"machine", "other"}) {
    ASSERT_EQ(regplan({"run", "plan.json", "--machine", machine, "--no-log", "--journal",
                       machine + ".journal"}),
              0);
  }
  auto const before = golden::readTree("other");
  EXPECT_EQ(regplan({"restore", "machine.journal", "--machine", "other"}), 2);
  EXPECT_THAT(err, HasSubstr("computer"));
  EXPECT_EQ(golden::readTree("other"), before);
  EXPECT_EQ(regplan({"restore", "machine.journal", "--machine", "other", "--other-computer",
                     "--report", "report.json"}),
            0)
      << out << err;
  EXPECT_THAT(readBytes("report.json"), HasSubstr("\"otherComputer\": true"));
}

TEST_F(Program, RefusesAJournalThatExists) {
  layOutSample();
  writeBytes("journal", "precious");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--journal", "journal"}), 2);
  EXPECT_EQ(err, "regplan: --journal: journal exists; a journal is never written over\n");
  EXPECT_EQ(out, "");
  EXPECT_EQ(readBytes("journal"), "precious");
  EXPECT_FALSE(fs::exists("machine/C/Vortan/ssiSearchFolders"));
}

TEST_F(Program, RefusesToRestoreFromWhatIsNoJournal) {
  writeBytes("journal", "{}\n");
  EXPECT_EQ(regplan({"restore", "journal", "--machine", "machine"}), 2);
  EXPECT_THAT(err, StartsWith("regplan: journal: "));
  EXPECT_EQ(regplan({"restore", "none", "--machine", "machine"}), 2);
  EXPECT_EQ(err, "regplan: none: No such file or directory\n");
}

/// Another process would have opened the same folder.
class MachineInUse : public ProgramTest {
 protected:
  MachineInUse() {
    layOutSample();
    EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal", "old"}),
              0);
    other_.emplace("machine");
    held_ = other_->lock().acquire(std::chrono::seconds(0));
  }
  void letGo() { held_.reset(); }

 private:
  std::optional<machine::simulated::SimulatedMachine> other_;
  std::shared_ptr<machine::MachineLock::Held> held_;
};

TEST_F(MachineInUse, ForLongerThanTheLimitHasAnExitCodeOfItsOwnAndNothingIsDone) {
  auto const before = golden::readTree("machine");
  for (std::vector<std::string> const& request :
       {std::vector<std::string>{"run", "plan.json", "--journal", "new"},
        {"undo", "plan.json"},
        {"restore", "old"}}) {
    auto arguments = request;
    arguments.insert(arguments.end(), {"--machine", "machine", "--wait", "1"});
    EXPECT_EQ(regplan(arguments), 3) << request[0];
    EXPECT_EQ(out, "Waiting for another run, undo or restore to end, at most 1 second\n");
    EXPECT_EQ(err,
              "regplan: another installation, removal or restore has not ended within 1 second; "
              "nothing was changed\n");
  }
  EXPECT_EQ(golden::readTree("machine"), before);
  EXPECT_FALSE(fs::exists("new")) << "the journal of a run that never began";
}

TEST_F(MachineInUse, IsNotWaitedForWithALimitOfNothing) {
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--wait", "0"}), 3);
  EXPECT_EQ(out, "");
}

TEST_F(MachineInUse, IsAnEventForPrograms) {
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--json", "--wait", "1"}), 3);
  auto const end = out.find('\n');
  EXPECT_EQ(nlohmann::json::parse(out.substr(0, end)),
            nlohmann::json::parse(R"({"event": "waiting", "limitSeconds": 1})"));
  auto const refusal = nlohmann::json::parse(out.substr(end + 1));
  EXPECT_EQ(refusal["event"], "refused");
  EXPECT_EQ(refusal["exitCode"], 3);
}

TEST_F(MachineInUse, KeepsNobodyFromLooking) {
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "machine"}), 0);
  EXPECT_THAT(out, Not(HasSubstr("Waiting")));
  EXPECT_EQ(regplan({"validate", "plan.json"}), 0);
}

TEST_F(MachineInUse, IsFreeAgainAfterwards) {
  letGo();
  EXPECT_EQ(regplan({"restore", "old", "--machine", "machine", "--wait", "0"}), 0);
}

TEST_F(Program, RefusesALimitThatIsNoTime) {
  layOutSample();
  for (std::string const limit : {"-1", "soon", "86401", "1.5"}) {
    EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--wait", limit}), 2) << limit;
    EXPECT_THAT(err, HasSubstr("--wait"));
  }
}

#if !defined(_WIN32)
TEST_F(Program, NeedsASimulatedMachineWhereThereIsNoWindows) {
  layOutSample();
  EXPECT_EQ(regplan({"run", "plan.json"}), 2);
  EXPECT_EQ(err, "regplan: --machine DIR is required: this is no Windows computer\n");
}
#endif

}  // namespace
}  // namespace regplan
