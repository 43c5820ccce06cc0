#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "tools/regplan/plan.hpp"

namespace regplan {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Keeps what it was made from.
class Recorded : public Command {
 public:
  Recorded(Options const& givenOptions, Arguments const& givenArguments)
      : options(givenOptions), arguments(givenArguments) {}
  void execute() const override {}
  void undo() const override {}

  Options const options;
  Arguments const arguments;
};

std::unique_ptr<Command const> makeRecorded(Options const& options, Arguments const& arguments) {
  return std::make_unique<Recorded>(options, arguments);
}

std::unique_ptr<Command const> makeThrow(Options const&, Arguments const&) {
  throw 5;
}

std::vector<CommandDescription> const testCommands = {
    {"Everything",
     "",
     {{"text", ArgumentType::text, Need::required, ""},
      {"path", ArgumentType::path, Need::optional, ""},
      {"boolean", ArgumentType::boolean, Need::optional, ""},
      {"number", ArgumentType::number, Need::optional, ""},
      {"paths", ArgumentType::paths, Need::optional, ""},
      {"registryKeys", ArgumentType::registryKeys, Need::optional, ""}},
     makeRecorded},
    {"Named", "", {{"name", ArgumentType::text, Need::notEmpty, ""}}, makeRecorded},
    {"Nothing", "", {}, makeRecorded},
    {"Throws", "", {}, makeThrow},
};

std::vector<std::string> errorsOf(std::string_view text,
                                  std::span<CommandDescription const> commands) {
  PlanErrors errors;
  bool const isPlan = readPlan(text, errors, commands).has_value();
  EXPECT_EQ(isPlan, errors.empty());
  return errors.lines("p.json");
}

std::vector<std::string> errorsOf(std::string_view text) {
  return errorsOf(text, commandCatalogue());
}

/// Errors of a plan whose one command has these arguments besides a good "text".
std::vector<std::string> argumentErrors(std::string const& arguments) {
  return errorsOf(R"({"commands":[{"command":"Everything","text":"",)" + arguments + "}]}",
                  testCommands);
}

std::vector<std::string> optionErrors(std::string const& options) {
  return errorsOf(R"({"options":{)" + options + R"(},"commands":[]})");
}

Plan planOf(std::string_view text, std::span<CommandDescription const> commands) {
  PlanErrors errors;
  std::optional<Plan> plan = readPlan(text, errors, commands);
  EXPECT_THAT(errors.lines("p.json"), IsEmpty());
  return plan ? *std::move(plan) : Plan{};
}

Recorded const& recorded(Plan const& plan) {
  return dynamic_cast<Recorded const&>(*plan.commands.at(0).command);
}

TEST(ReadPlan, ReadsEveryTypeOfArgument) {
  Plan const plan = planOf(R"({"commands":[{"command":"Everything",
      "text":"Gr\u00f6\u00dfe \ud83d\ude00", "path":"C:\\a", "boolean":true, "number":4294967295,
      "paths":["C:\\b","C:\\c"],
      "registryKeys":[{"root":"HKEY_CURRENT_USER","keyPath":"k","valueName":"n","value":"v"}]}]})",
                           testCommands);
  ASSERT_EQ(plan.commands.size(), 1U);
  EXPECT_EQ(plan.commands[0].name, "Everything");
  Arguments const& arguments = recorded(plan).arguments;
  EXPECT_EQ(arguments.get<UString>("text"), u"Gr\u00f6\u00dfe \U0001F600");
  EXPECT_EQ(arguments.get<Path>("path"), Path(u"C:\\a"));
  EXPECT_TRUE(arguments.get<bool>("boolean"));
  EXPECT_EQ(arguments.get<std::uint32_t>("number"), 4294967295U);
  EXPECT_THAT(arguments.get<std::vector<Path>>("paths"),
              ElementsAre(Path(u"C:\\b"), Path(u"C:\\c")));
  auto const keys = arguments.get<std::list<registryKey>>("registryKeys");
  ASSERT_EQ(keys.size(), 1U);
  EXPECT_EQ(keys.front().root, install::postinstall::currentUserKey());
  EXPECT_EQ(keys.front().keyPath, u"k");
  EXPECT_EQ(keys.front().valueName, u"n");
  EXPECT_EQ(keys.front().value, u"v");
}

TEST(ReadPlan, LeavesOptionalArgumentsEmpty) {
  Plan const plan = planOf(R"({"commands":[{"command":"Everything","text":"t"}]})", testCommands);
  Arguments const& arguments = recorded(plan).arguments;
  EXPECT_EQ(arguments.get<Path>("path"), Path());
  EXPECT_FALSE(arguments.get<bool>("boolean"));
  EXPECT_EQ(arguments.get<std::uint32_t>("number"), 0U);
}

TEST(ReadPlan, FillsEveryOption) {
  Plan const plan = planOf(R"({"options":{
      "isDesktopShortcutRequested":true, "isSystemIntegrationSkipped":true,
      "isFileAssociationRequested":true, "isServiceHostRequested":true,
      "isSettingsToolOptionSet":true, "isUsageDataSettingsRequested":true,
      "isStartMenuShortcutRequested":true, "areScheduledServicesEnabled":true,
      "rootPath":"C:\\r", "usageDataSettingsArgument":"u", "bundleRootPath":"C:\\b",
      "metadataRootPath":"\\\\server\\m", "targetFolders":{"C:\\link.exe":"C:\\folder"}},
      "commands":[{"command":"Nothing"}]})",
                           testCommands);
  Options const& options = recorded(plan).options;
  EXPECT_TRUE(options.isDesktopShortcutRequested());
  EXPECT_TRUE(options.isSystemIntegrationSkipped());
  EXPECT_TRUE(options.isFileAssociationRequested());
  EXPECT_TRUE(options.isServiceHostRequested());
  EXPECT_TRUE(options.isSettingsToolOptionSet());
  EXPECT_TRUE(options.isUsageDataSettingsRequested());
  EXPECT_TRUE(options.isStartMenuShortcutRequested());
  EXPECT_TRUE(options.areScheduledServicesEnabled());
  EXPECT_EQ(options.getRootPath(), u"C:\\r");
  EXPECT_EQ(options.getUsageDataSettingsArgument(), u"u");
  EXPECT_EQ(options.getBundleRootPath(), u"C:\\b");
  EXPECT_EQ(options.getMetadataRootPath(), u"\\\\server\\m");
  EXPECT_EQ(options.getTargetFolder(u"C:\\link.exe"), u"C:\\folder");
}

/// Each option fills its own field and no other.
TEST(ReadPlan, OneFlagSetsOneGetter) {
  using Getter = bool (Options::*)() const;
  std::vector<std::pair<std::string, Getter>> const flags = {
      {"isDesktopShortcutRequested", &Options::isDesktopShortcutRequested},
      {"isSystemIntegrationSkipped", &Options::isSystemIntegrationSkipped},
      {"isFileAssociationRequested", &Options::isFileAssociationRequested},
      {"isServiceHostRequested", &Options::isServiceHostRequested},
      {"isSettingsToolOptionSet", &Options::isSettingsToolOptionSet},
      {"isUsageDataSettingsRequested", &Options::isUsageDataSettingsRequested},
      {"isStartMenuShortcutRequested", &Options::isStartMenuShortcutRequested},
      {"areScheduledServicesEnabled", &Options::areScheduledServicesEnabled}};
  for (auto const& set : flags) {
    Plan const plan =
        planOf(R"({"options":{")" + set.first + R"(":true},"commands":[{"command":"Nothing"}]})",
               testCommands);
    for (auto const& asked : flags) {
      EXPECT_EQ((recorded(plan).options.*asked.second)(), set.first == asked.first)
          << set.first << " " << asked.first;
    }
  }
}

TEST(ReadPlan, OptionsLeftOutAreFalseAndEmpty) {
  Plan const plan = planOf(R"({"commands":[{"command":"Nothing"}]})", testCommands);
  EXPECT_FALSE(recorded(plan).options.isSystemIntegrationSkipped());
  EXPECT_EQ(recorded(plan).options.getRootPath(), u"");
  EXPECT_EQ(recorded(plan).options.getTargetFolder(u"C:\\link.exe"), u"");
}

TEST(ReadPlan, KeepsTheOrderOfCommandsAndTakesOneTwice) {
  Plan const plan = planOf(R"({"commands":[{"command":"Nothing"},
      {"command":"Everything","text":""},{"command":"Nothing"}]})",
                           testCommands);
  ASSERT_EQ(plan.commands.size(), 3U);
  EXPECT_EQ(plan.commands[0].name, "Nothing");
  EXPECT_EQ(plan.commands[1].name, "Everything");
  EXPECT_EQ(plan.commands[2].name, "Nothing");
}

TEST(ReadPlan, KnowsEveryRegistryRoot) {
  Plan const plan = planOf(R"({"commands":[{"command":"SetRegistryKeys","registryKeys":[
        {"root":"HKEY_CLASSES_ROOT","keyPath":"k","valueName":"","value":""},
        {"root":"HKEY_CURRENT_USER","keyPath":"k","valueName":"","value":""},
        {"root":"HKEY_LOCAL_MACHINE","keyPath":"k","valueName":"","value":""},
        {"root":"HKEY_USERS","keyPath":"k","valueName":"","value":""},
        {"root":"HKEY_CURRENT_CONFIG","keyPath":"k","valueName":"","value":""}]}]})",
                           commandCatalogue());
  EXPECT_EQ(plan.commands.size(), 1U);
}

TEST(ReadPlan, AcceptsAnEmptyListOfCommandsAndASchema) {
  EXPECT_THAT(errorsOf(R"({"$schema":"regplan.schema.json","commands":[]})"), IsEmpty());
}

TEST(ReadPlan, SkipsAByteOrderMark) {
  EXPECT_THAT(errorsOf("\xEF\xBB\xBF{\"commands\":[]}"), IsEmpty());
  EXPECT_THAT(errorsOf("\xEF\xBB\xBF{x"), ElementsAre(HasSubstr("p.json:1:2: not JSON: ")));
}

TEST(ReadPlan, RefusesWhatIsNoJsonWithItsPlace) {
  EXPECT_THAT(errorsOf("{\n  \"commands\": [\n    tru\n  ]\n}"),
              ElementsAre("p.json:3:8: not JSON: syntax error while parsing value - invalid "
                          "literal"));
  EXPECT_THAT(errorsOf("{\"options\": {}\n \"commands\": []}"),
              ElementsAre("p.json:2:2: not JSON: syntax error while parsing object - unexpected "
                          "string literal; expected '}'"));
  EXPECT_THAT(errorsOf("{\"ö\": ]"),
              ElementsAre("p.json:1:7: not JSON: syntax error while parsing value - unexpected "
                          "']'; expected '[', '{', or a literal"));
}

TEST(ReadPlan, RefusesAnEmptyFile) {
  EXPECT_THAT(errorsOf(""),
              ElementsAre("p.json:1:1: not JSON: syntax error while parsing value - unexpected "
                          "end of input; expected '[', '{', or a literal"));
}

TEST(ReadPlan, RefusesTextAfterThePlan) {
  EXPECT_THAT(errorsOf("{\"commands\":[]}\n{}"),
              ElementsAre("p.json:2:1: not JSON: syntax error while parsing value - unexpected "
                          "'{'; expected end of input"));
}

TEST(ReadPlan, RefusesComments) {
  EXPECT_THAT(errorsOf("{\"commands\":[] // none\n}"),
              ElementsAre(HasSubstr("p.json:1:16: not JSON: ")));
}

TEST(ReadPlan, RefusesUnpairedSurrogates) {
  EXPECT_THAT(optionErrors(R"("rootPath":"\ud800")"),
              ElementsAre(HasSubstr("invalid string: surrogate U+D800..U+DBFF must be followed by "
                                    "U+DC00..U+DFFF")));
  EXPECT_THAT(optionErrors(R"("rootPath":"\udc00")"),
              ElementsAre(HasSubstr("invalid string: surrogate U+DC00..U+DFFF must follow "
                                    "U+D800..U+DBFF")));
}

TEST(ReadPlan, RefusesIllFormedUtf8) {
  EXPECT_THAT(errorsOf("{\"\xFF\": 1}"), ElementsAre(HasSubstr("p.json:1:3: not JSON: ")));
}

TEST(ReadPlan, RefusesNumbersBeyondAllRange) {
  EXPECT_THAT(errorsOf("{\"commands\": 1e999}"),
              ElementsAre("p.json:1:14: not JSON: number overflow parsing '1e999'"));
}

TEST(ReadPlan, CutsTheReasonOfAHugeToken) {
  auto const errors = errorsOf("\"" + std::string(100000, 'x'));
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_LT(errors[0].size(), 400U);
}

TEST(ReadPlan, RefusesNamesGivenTwiceWhereverTheyAre) {
  EXPECT_THAT(errorsOf(R"({"commands":[],"options":{"rootPath":"C:\\a","rootPath":"C:\\b"}})"),
              ElementsAre("p.json: /options/rootPath: given more than once"));
  EXPECT_THAT(argumentErrors(R"("number":1,"number":1)"),
              ElementsAre("p.json: /commands/0/number: given more than once"));
  EXPECT_THAT(optionErrors(R"("targetFolders":{"C:\\a":"C:\\b","C:\\a":"C:\\b"})"),
              ElementsAre("p.json: /options/targetFolders/C:\\a: given more than once"));
  EXPECT_THAT(errorsOf(R"({"commands":[],"commands":[]})"),
              ElementsAre("p.json: /commands: given more than once"));
}

TEST(ReadPlan, RefusesDeepNesting) {
  std::string const deep(100000, '[');
  EXPECT_THAT(errorsOf("{\"$schema\":" + deep),
              ElementsAre(HasSubstr("/0/0: nested deeper than 32 levels")));
}

TEST(ReadPlan, AcceptsNestingUpToTheLimit) {
  std::string const open(planNestingLimit - 1, '[');
  std::string const close(planNestingLimit - 1, ']');
  EXPECT_THAT(errorsOf("{\"$schema\":" + open + close + ",\"commands\":[]}"), IsEmpty());
  EXPECT_THAT(errorsOf("{\"$schema\":[" + open + close + "],\"commands\":[]}"),
              ElementsAre(HasSubstr("nested deeper than 32 levels")));
}

TEST(ReadPlan, RefusesAPlanThatIsNoObject) {
  EXPECT_THAT(errorsOf("[]"), ElementsAre("p.json: must be an object, not a list"));
  EXPECT_THAT(errorsOf("null"), ElementsAre("p.json: must be an object, not null"));
}

TEST(ReadPlan, RefusesAPlanWithoutCommands) {
  EXPECT_THAT(errorsOf("{}"),
              ElementsAre("p.json: /commands: missing; a plan needs a list of commands"));
}

TEST(ReadPlan, RefusesUnknownMembers) {
  EXPECT_THAT(errorsOf(R"({"comands":[],"commands":[]})"),
              ElementsAre("p.json: /comands: unknown member of a plan; did you mean "
                          "\"commands\"? Known: $schema, options, commands"));
}

TEST(ReadPlan, RefusesUnknownOptions) {
  EXPECT_THAT(optionErrors(R"("rootpath":"")"),
              ElementsAre("p.json: /options/rootpath: unknown option; did you mean "
                          "\"rootPath\"? Known: isDesktopShortcutRequested, "
                          "isSystemIntegrationSkipped, isFileAssociationRequested, "
                          "isServiceHostRequested, isSettingsToolOptionSet, "
                          "isUsageDataSettingsRequested, isStartMenuShortcutRequested, "
                          "areScheduledServicesEnabled, rootPath, usageDataSettingsArgument, "
                          "targetFolders, bundleRootPath, metadataRootPath"));
}

TEST(ReadPlan, SchemaIsKnownAtTheTopOnly) {
  EXPECT_THAT(optionErrors(R"("$schema":"")"), ElementsAre(HasSubstr("unknown option")));
}

TEST(ReadPlan, RefusesUnknownCommands) {
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"SetRegistryKey"}]})"),
              ElementsAre(AllOf(HasSubstr("p.json: /commands/0/command: unknown command "
                                          "\"SetRegistryKey\"; did you mean \"SetRegistryKeys\"? "
                                          "Known: Add3PEnvVarToMetadataFile, "),
                                HasSubstr(", StartServices, UpdatePathEnvironmentVariable"))));
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"x\u001b[2J"}]})", testCommands),
              ElementsAre("p.json: /commands/0/command: unknown command \"x\\u001B[2J\"; known: "
                          "Everything, Named, Nothing, Throws"));
}

TEST(ReadPlan, RefusesUnknownArguments) {
  EXPECT_THAT(argumentErrors(R"("pats":[])"),
              ElementsAre("p.json: /commands/0/pats: unknown argument of Everything; did you mean "
                          "\"path\"? Known: text, path, boolean, number, paths, registryKeys"));
  EXPECT_THAT(
      errorsOf(R"({"commands":[{"command":"Nothing","a/b~c":1}]})", testCommands),
      ElementsAre("p.json: /commands/0/a~1b~0c: unknown argument of Nothing; there are none"));
}

TEST(ReadPlan, RefusesCommandsWithoutAName) {
  EXPECT_THAT(errorsOf(R"({"commands":[{},{"command":1},"Nothing"]})"),
              ElementsAre("p.json: /commands/0/command: missing; it names the command",
                          "p.json: /commands/1/command: must be text, not a number",
                          "p.json: /commands/2: must be an object, not text"));
}

TEST(ReadPlan, RefusesMissingArguments) {
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"UpdatePathEnvironmentVariable",
                           "productVersion":"1"}]})"),
              ElementsAre("p.json: /commands/0/pathEntry: missing; UpdatePathEnvironmentVariable "
                          "needs it (absolute path)",
                          "p.json: /commands/0/executableName: missing; "
                          "UpdatePathEnvironmentVariable needs it (text)"));
}

TEST(ReadPlan, RefusesEmptyTextsWhereTheyMakeNoSense) {
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"Named","name":""},
                           {"command":"Named","name":" "}]})",
                       testCommands),
              ElementsAre("p.json: /commands/0/name: must not be empty"));
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"RegisterAutomationServer","moduleName":"",
                           "moduleFolder":"C:\\a"}]})"),
              ElementsAre("p.json: /commands/0/moduleName: must not be empty"));
}

/// Whoever chooses the folder that a program is started in chooses what such a path names.
TEST(ReadPlan, RefusesPathsThatAreNotAbsolute) {
  for (std::string const path : {"", "a.exe", R"(bin\\a.exe)", R"(.\\a.exe)", R"(..\\a.exe)",
                                 "C:a.exe", R"(\\a.exe)", "/a.exe", "%TEMP%\\\\a.exe"}) {
    std::string const reason = "must be an absolute path, such as C:\\folder, not \"";
    EXPECT_THAT(argumentErrors("\"path\":\"" + path + "\""),
                ElementsAre(HasSubstr("p.json: /commands/0/path: " + reason)));
    EXPECT_THAT(argumentErrors("\"paths\":[\"C:\\\\a\",\"" + path + "\"]"),
                ElementsAre(HasSubstr("p.json: /commands/0/paths/1: " + reason)));
    for (std::string const option : {"rootPath", "bundleRootPath", "metadataRootPath"}) {
      EXPECT_THAT(optionErrors("\"" + option + "\":\"" + path + "\""),
                  ElementsAre(HasSubstr("p.json: /options/" + option + ": " + reason)));
    }
    EXPECT_THAT(optionErrors(R"("targetFolders":{"C:\\a":")" + path + "\"}"),
                ElementsAre(HasSubstr("p.json: /options/targetFolders/C:\\a: " + reason)));
    EXPECT_THAT(optionErrors("\"targetFolders\":{\"" + path + R"(":"C:\\a"})"),
                ElementsAre(HasSubstr(": " + reason)));
  }
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"LaunchCppMicroServicesCacheExecutable",
                           "executablePath":"cache_builder.exe"}]})"),
              ElementsAre("p.json: /commands/0/executablePath: must be an absolute path, such as "
                          "C:\\folder, not \"cache_builder.exe\""));
  EXPECT_THAT(argumentErrors(R"("paths":["C:\\a","c:/a","\\\\server\\share","\\\\?\\C:\\a"])"),
              IsEmpty());
}

TEST(ReadPlan, TextsThatNameWindowsPathsAreHeldToThemToo) {
  for (auto const& [command, argument] : std::vector<std::pair<std::string, std::string>>{
           {"CreateDesktopShortcuts", "targetPath"},
           {"CreateStartMenuShortcuts", "targetPath"},
           {"StartServices", "applicationPath"},
           {"UpdatePathEnvironmentVariable", "pathEntry"},
           {"RegisterAutomationServer", "moduleFolder"},
           {"LaunchFyroSettingsExecutable", "executablePath"}}) {
    EXPECT_THAT(errorsOf(R"({"options":{"rootPath":"C:\\r"},"commands":[{"command":")" + command +
                         R"(",")" + argument + R"(":"bin\\a"}]})"),
                testing::Contains("p.json: /commands/0/" + argument +
                                  ": must be an absolute path, such as C:\\folder, not \"bin\\a\""))
        << command;
  }
}

/// Without a root, folders of the product are looked for below the current folder.
TEST(ReadPlan, RefusesAPlanWithoutTheRootsThatItsCommandsNeed) {
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"GeneratePathDef"},
                           {"command":"GenerateJavaClassPath"},
                           {"command":"AddVTPathEntriesToMetadataFile"}]})"),
              ElementsAre("p.json: /options/rootPath: missing; GeneratePathDef needs it",
                          "p.json: /options/bundleRootPath: missing; GeneratePathDef needs it",
                          "p.json: /options/metadataRootPath: missing; "
                          "AddVTPathEntriesToMetadataFile needs it"));
  EXPECT_THAT(errorsOf(R"({"options":{"rootPath":"C:\\r"},"commands":[
                           {"command":"InstallationsRegistryCommand"}]})"),
              IsEmpty());
}

TEST(Catalogue, CommandsNeedOptionsThatAreFolders) {
  std::set<std::string_view> folders;
  for (auto const& option : optionCatalogue()) {
    if (option.isPath) folders.insert(option.name);
  }
  EXPECT_EQ(folders.size(), 3U);
  for (auto const& command : commandCatalogue()) {
    for (auto const& name : command.neededOptions) {
      EXPECT_TRUE(folders.contains(name)) << command.name << " " << name;
    }
  }
}

TEST(ReadPlan, RefusesArgumentsOfAnotherType) {
  EXPECT_THAT(argumentErrors(R"("path":1,"boolean":"true","number":"1","paths":{},
                                "registryKeys":null)"),
              ElementsAre("p.json: /commands/0/path: must be text, not a number",
                          "p.json: /commands/0/boolean: must be true or false, not text",
                          "p.json: /commands/0/number: must be a whole number from 0 to "
                          "4294967295, not text",
                          "p.json: /commands/0/paths: must be a list, not an object",
                          "p.json: /commands/0/registryKeys: must be a list, not null"));
  EXPECT_THAT(argumentErrors(R"("paths":["C:\\a",1,"C:\\b",[]])"),
              ElementsAre("p.json: /commands/0/paths/1: must be text, not a number",
                          "p.json: /commands/0/paths/3: must be text, not a list"));
}

TEST(ReadPlan, RefusesOptionsOfAnotherType) {
  EXPECT_THAT(optionErrors(R"("isServiceHostRequested":1,"rootPath":false,"targetFolders":[])"),
              ElementsAre("p.json: /options/isServiceHostRequested: must be true or false, not a "
                          "number",
                          "p.json: /options/rootPath: must be text, not false",
                          "p.json: /options/targetFolders: must be an object, not a list"));
  EXPECT_THAT(optionErrors(R"("targetFolders":{"C:\\a":null})"),
              ElementsAre("p.json: /options/targetFolders/C:\\a: must be text, not null"));
  EXPECT_THAT(errorsOf(R"({"options":[],"commands":{}})"),
              ElementsAre("p.json: /options: must be an object, not a list",
                          "p.json: /commands: must be a list, not an object"));
}

TEST(ReadPlan, RefusesNumbersOutOfRange) {
  for (std::string const number : {"4294967296", "-1", "1.5", "1.0", "99999999999999999999"}) {
    EXPECT_THAT(argumentErrors("\"number\":" + number),
                ElementsAre("p.json: /commands/0/number: must be a whole number from 0 to "
                            "4294967295"))
        << number;
  }
}

TEST(ReadPlan, RefusesNulInTexts) {
  EXPECT_THAT(optionErrors(R"("rootPath":"C:\\a\u0000b","targetFolders":{"\u0000":"C:\\c"})"),
              ElementsAre("p.json: /options/rootPath: must not contain the character U+0000",
                          "p.json: /options/targetFolders/\\u0000: must not contain the character "
                          "U+0000"));
}

TEST(ReadPlan, RefusesBadRegistryValues) {
  EXPECT_THAT(argumentErrors(R"("registryKeys":[{"root":"HKLM","keyPath":1,"valuename":""},7])"),
              ElementsAre("p.json: /commands/0/registryKeys/0/valuename: unknown member of a "
                          "registry value; did you mean \"valueName\"? Known: root, keyPath, "
                          "valueName, value",
                          "p.json: /commands/0/registryKeys/0/root: unknown registry root "
                          "\"HKLM\"; known: HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, "
                          "HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG",
                          "p.json: /commands/0/registryKeys/0/keyPath: must be text, not a number",
                          "p.json: /commands/0/registryKeys/0/valueName: missing; a registry value "
                          "needs root, keyPath, valueName and value",
                          "p.json: /commands/0/registryKeys/0/value: missing; a registry value "
                          "needs root, keyPath, valueName and value",
                          "p.json: /commands/0/registryKeys/1: must be an object, not a number"));
}

TEST(ReadPlan, TellsWhatAConstructorRefuses) {
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"SetRegistryKeys","registryKeys":[]}]})"),
              ElementsAre("p.json: /commands/0: Exception occured while creating the registry keys "
                          "command : Registry Key Value list cannot be empty"));
  EXPECT_THAT(errorsOf(R"({"commands":[{"command":"Throws"}]})", testCommands),
              ElementsAre("p.json: /commands/0: refused by the command with an exception that "
                          "carries no text"));
}

TEST(ReadPlan, TellsAllErrorsInTheOrderOfTheFile) {
  EXPECT_THAT(
      errorsOf(R"({"x":1,"x":2,"options":{"rootPath":1},
                           "commands":[{"command":"Nothing","y":1},{"command":"Everything"}]})",
               testCommands),
      ElementsAre("p.json: /x: given more than once", HasSubstr(": /x: unknown"),
                  HasSubstr(": /x: unknown"), HasSubstr(": /options/rootPath: must"),
                  HasSubstr(": /commands/0/y: unknown"), HasSubstr(": /commands/1/text: missing")));
}

TEST(ReadPlan, CutsLongNames) {
  auto const errors = optionErrors("\"" + std::string(100000, 'x') + "\":1");
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_THAT(errors[0], HasSubstr("/options/" + std::string(80, 'x') + "...: unknown option"));
}

TEST(PlanErrors, CountsWhatNobodyReads) {
  PlanErrors errors;
  for (std::size_t i = 0; i < PlanErrors::limit + 2; ++i) errors.add("/a", "b");
  auto const lines = errors.lines("p.json");
  ASSERT_EQ(lines.size(), PlanErrors::limit + 1);
  EXPECT_EQ(lines.back(), "p.json: 2 more errors");
}

TEST(Catalogue, NamesAreUniqueAndEverythingIsDescribed) {
  std::set<std::string_view> names;
  for (auto const& command : commandCatalogue()) {
    EXPECT_TRUE(names.insert(command.name).second) << command.name;
    EXPECT_FALSE(command.description.empty()) << command.name;
    for (auto const& argument : command.arguments) {
      EXPECT_NE(argument.name, "command");
      EXPECT_FALSE(argument.description.empty()) << command.name << " " << argument.name;
    }
  }
  EXPECT_EQ(optionCatalogue().size(), 13U);
  for (auto const& option : optionCatalogue()) {
    EXPECT_TRUE(names.insert(option.name).second) << option.name;
    EXPECT_FALSE(option.description.empty()) << option.name;
  }
}

}  // namespace
}  // namespace regplan
