#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "tests/tools/regplan/full_plan.hpp"
#include "tools/regplan/exit_codes.hpp"

namespace regplan {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// What is said of a plan's commands, by the views, events and reports alike.
class Outcomes : public FullPlanTest {
 protected:
  static json plan() { return json::parse(golden::readBytes("plan.json")); }
  static void setOption(std::string const& name, bool value) {
    auto changed = plan();
    changed["options"][name] = value;
    golden::writeBytes("plan.json", changed.dump());
  }

  /// The commands of the report, by their names.
  std::map<std::string, json> reported(std::string const& verb) {
    std::filesystem::remove("report.json");
    std::vector<std::string> arguments = {verb,      "plan.json", "--machine",
                                          "machine", "--report",  "report.json"};
    if (verb != "preview") arguments.emplace_back("--no-log");
    EXPECT_EQ(regplan(arguments), allDone) << err;
    std::map<std::string, json> commands;
    auto const report = json::parse(golden::readBytes("report.json"));
    for (auto const& command : report["commands"]) {
      commands[command["command"]] = command;
    }
    return commands;
  }

  std::vector<json> events(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    code = regplan(std::move(arguments));
    std::vector<json> all;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) all.push_back(json::parse(line));
    return all;
  }

  int code = 0;
};

TEST_F(Outcomes, OfAPlanWhoseFilesAreAllMissingAreProblemsNotDone) {
  golden::writeBytes("plan.json", R"({
    "options": { "rootPath": "C:\\None" },
    "commands": [
      { "command": "RegisterAutomationServer", "moduleName": "a.dll", "moduleFolder": "C:\\None",
        "serverArgument": "" },
      { "command": "RegisterDlls", "files": ["C:\\None\\b.dll"] },
      { "command": "InstallDotNetAssemblyFiles", "files": ["C:\\None\\c.dll"] },
      { "command": "LaunchCppMicroServicesCacheExecutable", "executablePath": "C:\\None\\d.exe" } ] })");
  std::filesystem::create_directory("bare");
  std::vector<std::string> const run = {"run", "plan.json", "--machine", "bare", "--no-log"};
  EXPECT_EQ(regplan(run), allDone);
  EXPECT_THAT(out, HasSubstr("\n4 commands: 4 done with problems, in "));
  EXPECT_THAT(out, Not(HasSubstr("4 done,")));

  auto strict = run;
  strict.emplace_back("--strict");
  EXPECT_EQ(regplan(strict), somethingFailed);
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "bare", "--strict"}), somethingFailed);
}

TEST_F(Outcomes, StrictChangesNothingWhereThereAreNoProblems) {
  golden::writeBytes("plan.json", R"({"commands": [
    { "command": "SetRegistryKeys", "registryKeys": [
      { "root": "HKEY_LOCAL_MACHINE", "keyPath": "SOFTWARE\\A\\B", "valueName": "a",
        "value": "b" } ] } ] })");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--strict"}), allDone);
}

TEST_F(Outcomes, OfCommandsThatSkippedSystemIntegrationTurnsOff) {
  setOption("isSystemIntegrationSkipped", true);
  for (std::string const verb : {"run", "preview"}) {
    auto commands = reported(verb);
    for (std::string const name :
         {"SetRegistryKeys", "UpdatePathEnvironmentVariable", "SetFileAssociations",
          "CreateDesktopShortcuts", "CreateStartMenuShortcuts", "CreateSymlink", "RegisterDlls",
          "RegisterAutomationServer", "InstallDotNetAssemblyFiles", "StartServices"}) {
      json const& command = commands.at(name);
      EXPECT_EQ(command["outcome"], "nothingToDo") << verb << " " << name;
      EXPECT_EQ(command.value("decidedBy", ""), "isSystemIntegrationSkipped")
          << verb << " " << name;
      EXPECT_EQ(command.value("reason", ""), "isSystemIntegrationSkipped is true")
          << verb << " " << name;
      EXPECT_TRUE(command["changes"].empty()) << verb << " " << name;
    }
  }
}

TEST_F(Outcomes, OfCommandsThatNobodyAskedForNameTheOption) {
  struct Flag {
    std::string option;
    std::string command;
    bool countsForUndo;
  };
  for (Flag const& flag :
       {Flag{"isDesktopShortcutRequested", "CreateDesktopShortcuts", true},
        Flag{"isStartMenuShortcutRequested", "CreateStartMenuShortcuts", true},
        Flag{"isFileAssociationRequested", "SetFileAssociations", true},
        Flag{"areScheduledServicesEnabled", "StartServices", true},
        Flag{"isServiceHostRequested", "BrantixServiceHostSetupCommand", false},
        Flag{"isServiceHostRequested", "InstallationsRegistryCommand", false},
        Flag{"isUsageDataSettingsRequested", "LaunchFyroSettingsExecutable", false}}) {
    setOption(flag.option, false);
    for (std::string const verb : {"run", "undo"}) {
      json const command = reported(verb).at(flag.command);
      EXPECT_EQ(command["outcome"], "nothingToDo") << verb << " " << flag.command;
      if (verb == "run" || flag.countsForUndo) {
        EXPECT_EQ(command.value("decidedBy", ""), flag.option) << verb << " " << flag.command;
      }
    }
    setOption(flag.option, true);
  }
}

TEST_F(Outcomes, OfASecondRunAreNothingToDoWhereAllIsInPlace) {
  auto const first = reported("run");
  auto const second = reported("run");
  for (std::string const name :
       {"SetRegistryKeys", "UpdatePathEnvironmentVariable", "SetFileAssociations",
        "CreateDesktopShortcuts", "CreateStartMenuShortcuts", "InstallationsRegistryCommand"}) {
    EXPECT_EQ(first.at(name)["outcome"], "done") << name;
    EXPECT_EQ(second.at(name)["outcome"], "nothingToDo") << name << second.at(name).dump(1);
  }
}

TEST_F(Outcomes, AreTheSameInTheViewTheEventsAndTheReport) {
  setOption("isDesktopShortcutRequested", false);
  auto const all = events({"preview", "plan.json", "--machine", "machine"});
  auto const report = reported("preview");
  std::map<std::string, std::string> told;
  for (json const& event : all) {
    if (event["event"] == "finished") told[event["command"]] = event["outcome"];
  }
  for (auto const& [name, command] : report) EXPECT_EQ(told.at(name), command["outcome"]) << name;
  EXPECT_EQ(told.at("CreateDesktopShortcuts"), "nothingToDo");
  EXPECT_EQ(told.at("RegisterDlls"), "handsOver");
}

TEST_F(Outcomes, TroubleIsAnEventOfItsOwn) {
  golden::writeBytes("plan.json", R"({"commands": [
    { "command": "LaunchCppMicroServicesCacheExecutable", "executablePath": "C:\\None\\d.exe" } ] })");
  auto const all = events({"run", "plan.json", "--machine", "machine", "--no-log"});
  ASSERT_EQ(all.size(), 5u) << out;
  EXPECT_EQ(all[1], json::parse(R"({"event": "trouble", "number": 1, "trouble": {
    "severity": "error", "text": "Manifest cache executable does not exist",
    "subject": "C:\\None\\d.exe", "logged": true}})"));
  EXPECT_EQ(
      all[2]["message"],
      json::parse(R"({"text": "Manifest cache executable does not exist", "trouble": true})"));
}

// Refusals

TEST_F(Outcomes, ARefusedCommandLinePlanOrJournalIsAnEventForPrograms) {
  golden::writeBytes("bad.json", R"({"commands": [{"command": "None"}, {"command": 1}]})");
  golden::writeBytes("bad.journal", "no journal");
  for (std::vector<std::string> const& arguments :
       std::vector<std::vector<std::string>>{{"run", "bad.json", "--machine", "machine"},
                                             {"run", "none.json", "--machine", "machine"},
                                             {"restore", "bad.journal", "--machine", "machine"},
                                             {"restore", "none.journal", "--machine", "machine"},
                                             {"run", "plan.json", "--machine", "none"},
                                             {"run", "plan.json", "--nonsense"},
                                             {"run"}}) {
    auto const all = events(arguments);
    EXPECT_EQ(code, refused) << arguments.at(0);
    ASSERT_EQ(all.size(), 1u) << out;
    EXPECT_EQ(all[0]["event"], "refused");
    EXPECT_EQ(all[0]["exitCode"], refused);
    EXPECT_FALSE(all[0]["reasons"].empty());
    EXPECT_EQ(err, "");

    EXPECT_EQ(regplan(arguments), refused);
    EXPECT_EQ(out, "");
    for (json const& reason : all[0]["reasons"]) {
      EXPECT_THAT(err, HasSubstr(reason.get<std::string>()));
    }
  }
}

TEST_F(Outcomes, ARefusedPlanNamesEachOfItsErrors) {
  golden::writeBytes("bad.json", R"({"commands": [{"command": "None"}, {"command": 1}]})");
  EXPECT_EQ(events({"run", "bad.json", "--machine", "machine"}).at(0)["reasons"].size(), 2u);
}

TEST_F(Outcomes, EveryExitCodeIsInTheReadme) {
  std::string const readme = golden::readBytes(README);
  for (ExitCodeMeaning const& entry : exitCodes) {
    EXPECT_THAT(readme, HasSubstr("\n| " + std::to_string(entry.code) + " | " +
                                  std::string(entry.meaning) + " |\n"));
  }
}

TEST_F(Outcomes, EveryExitCodeIsInTheHelp) {
  EXPECT_EQ(regplan({"--help"}), allDone);
  std::string words = out;
  for (auto at = words.find("\n     "); at != words.npos; at = words.find("\n     ")) {
    words.replace(at, 6, " ");
  }
  for (ExitCodeMeaning const& entry : exitCodes) {
    EXPECT_THAT(words,
                HasSubstr("\n  " + std::to_string(entry.code) + "  " + std::string(entry.meaning)));
  }
}

}  // namespace
}  // namespace regplan
