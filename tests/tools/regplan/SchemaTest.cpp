#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "tests/tools/regplan/golden.hpp"
#include "tools/regplan/plan.hpp"
#include "tools/regplan/schema.hpp"

namespace regplan {
namespace {

using Json = nlohmann::json;
using valijson::adapters::NlohmannJsonAdapter;

std::string const wholeSchema = planSchema(commandCatalogue(), optionCatalogue());

class Schema {
 public:
  explicit Schema(std::string const& text) {
    valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(Json::parse(text)), schema_);
  }
  bool allows(std::string const& plan) const {
    auto const document = Json::parse(plan);
    return valijson::Validator().validate(schema_, NlohmannJsonAdapter(document), nullptr);
  }

 private:
  valijson::Schema schema_;
};

std::vector<std::string> errorsOf(std::string const& plan) {
  PlanErrors errors;
  readPlan(plan, errors);
  return errors.lines("plan");
}

bool allowedBySchema(std::string const& plan) {
  static Schema const schema(wholeSchema);
  return schema.allows(plan);
}

/// Both the schema and the program give this verdict.
void expectVerdict(bool isGood, std::string const& plan) {
  EXPECT_EQ(allowedBySchema(plan), isGood) << plan;
  auto const errors = errorsOf(plan);
  EXPECT_EQ(errors.empty(), isGood) << plan << (errors.empty() ? "" : "\n" + errors[0]);
}

void expectVerdict(bool isGood, Json const& plan) {
  expectVerdict(isGood, plan.dump());
}

Json const everyRoot = {
    {"rootPath", "C:\\r"}, {"bundleRootPath", "//server/b"}, {"metadataRootPath", "c:/m"}};

Json planOf(Json const& command) {
  return {{"options", everyRoot}, {"commands", {command}}};
}

Json const registryValue = {
    {"root", "HKEY_USERS"}, {"keyPath", "k"}, {"valueName", ""}, {"value", ""}};

Json goodValue(ArgumentType type) {
  switch (type) {
    case ArgumentType::text:
      return "text";
    case ArgumentType::path:
      return "C:\\Gr\xC3\xB6\xC3\x9F"
             "e";
    case ArgumentType::boolean:
      return true;
    case ArgumentType::number:
      return 8;
    case ArgumentType::paths:
      return {"C:\\a", "\\\\server\\b"};
    case ArgumentType::registryKeys:
      return {registryValue, registryValue};
  }
  return {};
}

/// One value of each kind of JSON, an object and a list with something in them too.
Json const everyKind = {nullptr, true,          8,  "text", 1.5, Json::object(), Json::array(),
                        {1},     {{"name", 1}}, -1, {"a"}};

bool isOfType(Json const& value, ArgumentType type) {
  switch (type) {
    case ArgumentType::text:
      return value.is_string();
    case ArgumentType::path:
      return false;
    case ArgumentType::boolean:
      return value.is_boolean();
    case ArgumentType::number:
      return value == 8;
    case ArgumentType::paths:
      return value == Json::array();
    case ArgumentType::registryKeys:
      return false;
  }
  return false;
}

Json commandWith(CommandDescription const& command, bool optionalOnes) {
  Json plan = {{"command", command.name}};
  for (auto const& argument : command.arguments) {
    if (argument.isRequired() || optionalOnes) plan[argument.name] = goodValue(argument.type);
  }
  return plan;
}

TEST(PlanSchema, IsTheCommittedFile) {
  golden::expectFile(REGPLAN_SCHEMA, wholeSchema);
}

TEST(PlanSchema, TakesEveryCommandWithAllAndWithOnlyTheRequiredArguments) {
  for (auto const& command : commandCatalogue()) {
    expectVerdict(true, planOf(commandWith(command, true)));
    expectVerdict(true, planOf(commandWith(command, false)));
  }
}

TEST(PlanSchema, RefusesEveryCommandWithAnArgumentMissingOrUnknown) {
  for (auto const& command : commandCatalogue()) {
    Json const full = commandWith(command, true);
    for (auto const& argument : command.arguments) {
      Json without = full;
      without.erase(std::string(argument.name));
      expectVerdict(!argument.isRequired(), planOf(without));
    }
    Json more = full;
    more["unknown"] = "text";
    expectVerdict(false, planOf(more));
  }
}

TEST(PlanSchema, JudgesEveryArgumentsType) {
  for (auto const& command : commandCatalogue()) {
    for (auto const& argument : command.arguments) {
      for (Json const& value : everyKind) {
        Json changed = commandWith(command, true);
        changed[argument.name] = value;
        expectVerdict(isOfType(value, argument.type), planOf(changed));
      }
    }
  }
}

TEST(PlanSchema, RefusesEmptyTextsWhereTheyMakeNoSense) {
  for (auto const& command : commandCatalogue()) {
    for (auto const& argument : command.arguments) {
      bool const isText = isOfType("text", argument.type);
      Json changed = commandWith(command, true);
      changed[argument.name] = "";
      expectVerdict(isText && argument.need != Need::notEmpty, planOf(changed));
    }
  }
}

TEST(PlanSchema, RefusesNulInTexts) {
  std::string const nul("a\0b", 3);
  for (auto const& command : commandCatalogue()) {
    for (auto const& argument : command.arguments) {
      Json changed = commandWith(command, true);
      changed[argument.name] = nul;
      expectVerdict(false, planOf(changed));
      changed[argument.name] = {"a", nul};
      expectVerdict(false, planOf(changed));
    }
  }
  expectVerdict(false, Json{{"options", {{"rootPath", nul}}}, {"commands", Json::array()}});
  expectVerdict(false,
                Json{{"options", {{"targetFolders", {{nul, ""}}}}}, {"commands", Json::array()}});
  expectVerdict(false,
                Json{{"options", {{"targetFolders", {{"a", nul}}}}}, {"commands", Json::array()}});
}

TEST(PlanSchema, JudgesRegistryValues) {
  auto const judge = [](bool isGood, Json const& value) {
    expectVerdict(isGood, planOf({{"command", "SetRegistryKeys"}, {"registryKeys", {value}}}));
  };
  for (auto const& root : rootCatalogue()) {
    Json value = registryValue;
    value["root"] = root.name;
    judge(true, value);
  }
  for (auto const& member : registryValue.items()) {
    for (Json const& given : everyKind) {
      Json value = registryValue;
      value[member.key()] = given;
      judge(given.is_string() && member.key() != "root", value);
    }
    Json without = registryValue;
    without.erase(member.key());
    judge(false, without);
  }
  Json more = registryValue;
  more["unknown"] = "";
  judge(false, more);
  expectVerdict(false, planOf({{"command", "SetRegistryKeys"}, {"registryKeys", Json::array()}}));
}

TEST(PlanSchema, JudgesEveryOption) {
  for (auto const& option : optionCatalogue()) {
    for (Json const& value : everyKind) {
      bool const isGood = std::holds_alternative<bool Options::Values::*>(option.field)
                              ? value.is_boolean()
                          : std::holds_alternative<UString Options::Values::*>(option.field)
                              ? value.is_string() && !option.isPath
                              : value == Json::object();
      expectVerdict(isGood, Json{{"options", {{option.name, value}}}, {"commands", Json::array()}});
    }
  }
  expectVerdict(true,
                Json{{"options", {{"targetFolders", {{"C:\\a", "C:\\b"}, {"//server/c", "c:/d"}}}}},
                     {"commands", Json::array()}});
  expectVerdict(false, std::string(R"({"options":{"rootpath":""},"commands":[]})"));
}

TEST(PlanSchema, JudgesTheFormOfPlans) {
  std::vector<std::pair<bool, std::string>> const plans = {
      {true, R"({"commands":[]})"},
      {true, R"({"$schema":"regplan.schema.json","options":{},"commands":[]})"},
      {true, R"({"$schema":[1],"commands":[]})"},
      {false, "{}"},
      {false, "[]"},
      {false, "null"},
      {false, R"({"options":{}})"},
      {false, R"({"commands":{}})"},
      {false, R"({"commands":null})"},
      {false, R"({"options":[],"commands":[]})"},
      {false, R"({"options":null,"commands":[]})"},
      {false, R"({"comands":[],"commands":[]})"},
      {false, R"({"commands":["RegisterDlls"]})"},
      {false, R"({"commands":[{}]})"},
      {false, R"({"commands":[{"command":1}]})"},
      {false, R"({"commands":[{"command":""}]})"},
      {false, R"({"commands":[{"command":"createsymlink","linkPaths":[]}]})"},
      {false, R"({"commands":[{"command":"CreateSymlink","linkPaths":[]},{}]})"},
  };
  for (auto const& [isGood, plan] : plans) expectVerdict(isGood, plan);
}

TEST(PlanSchema, JudgesWhetherPathsAreAbsolute) {
  std::vector<std::pair<std::string, bool>> const paths = {{"C:\\a", true},
                                                           {"z:/", true},
                                                           {"\\\\server\\share", true},
                                                           {"\\\\?\\C:\\a", true},
                                                           {"//s/", true},
                                                           {"/\\s", true},
                                                           {"", false},
                                                           {"a", false},
                                                           {"a\\b", false},
                                                           {".\\a", false},
                                                           {"\\a", false},
                                                           {"C:", false},
                                                           {"C:a", false},
                                                           {"1:\\", false},
                                                           {" C:\\a", false}};
  for (auto const& [path, isGood] : paths) {
    expectVerdict(isGood, planOf({{"command", "RegisterDlls"}, {"files", Json::array({path})}}));
    expectVerdict(isGood, planOf({{"command", "LaunchCppMicroServicesCacheExecutable"},
                                  {"executablePath", path}}));
    for (auto const& root : everyRoot.items()) {
      expectVerdict(isGood, Json{{"options", {{root.key(), path}}}, {"commands", Json::array()}});
    }
    for (Json const& folders : {Json{{path, "C:\\a"}}, Json{{"C:\\a", path}}}) {
      expectVerdict(isGood,
                    Json{{"options", {{"targetFolders", folders}}}, {"commands", Json::array()}});
    }
  }
}

/// Numbers by a command that takes any: that of the product's code takes three values only.
TEST(PlanSchema, JudgesTheRangeOfNumbers) {
  auto const make = [](Options const&, Arguments const&) {
    return std::unique_ptr<Command const>();
  };
  std::vector<CommandDescription> const commands = {
      {"Count", "", {{"number", ArgumentType::number, Need::required, ""}}, make}};
  Schema const schema(planSchema(commands, optionCatalogue()));
  std::vector<std::pair<bool, std::string>> const numbers = {
      {true, "0"},   {true, "4294967295"}, {false, "4294967296"}, {false, "99999999999999999999"},
      {false, "-1"}, {false, "1.5"}};
  for (auto const& [isGood, number] : numbers) {
    std::string const plan = R"({"commands":[{"command":"Count","number":)" + number + "}]}";
    EXPECT_EQ(schema.allows(plan), isGood) << plan;
    PlanErrors errors;
    readPlan(plan, errors, commands);
    EXPECT_EQ(errors.empty(), isGood) << plan;
  }
}

/// What the program refuses though the schema allows it.
TEST(PlanSchema, CannotSayEverything) {
  std::vector<std::string> const plans = {
      R"({"commands":[],"commands":[]})",
      R"({"options":{"rootPath":"C:\\a","rootPath":"C:\\b"},"commands":[]})",
      R"({"commands":[{"command":"InstallationsRegistryCommand"}]})",
      R"({"options":{"rootPath":"C:\\a"},"commands":[{"command":"SetFileAssociations","productCode":5}]})",
      R"({"$schema":)" + std::string(planNestingLimit, '[') + std::string(planNestingLimit, ']') +
          R"(,"commands":[]})",
  };
  for (auto const& plan : plans) {
    EXPECT_TRUE(allowedBySchema(plan)) << plan;
    EXPECT_EQ(errorsOf(plan).size(), 1U) << plan;
  }
}

}  // namespace
}  // namespace regplan
