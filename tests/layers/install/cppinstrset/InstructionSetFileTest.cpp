#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "install/cppinstrset/InstrSet.hpp"
#include "install/cppinstrset/instruction_set_file.hpp"
#include "machine/error.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace install::cppinstrset {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// What the loader says of a document; empty when it takes it.
std::string refusalOf(std::string const& text) {
  try {
    parseInstructionSet(text, u"C:\\s.json");
    return "";
  } catch (std::runtime_error const& refusal) {
    return refusal.what();
  }
}

bool schemaAllows(std::string const& text) {
  std::ifstream file(std::filesystem::path(LAYERS_FOLDER) /
                     "install/cppinstrset/instructionset.schema.json");
  auto const json = nlohmann::json::parse(file);
  valijson::Schema schema;
  valijson::SchemaParser().populateSchema(valijson::adapters::NlohmannJsonAdapter(json), schema);
  auto const document = nlohmann::json::parse(text);
  return valijson::Validator().validate(schema, valijson::adapters::NlohmannJsonAdapter(document),
                                        nullptr);
}

char const* const fullSet = R"({
  "$schema": "instructionset.schema.json",
  "version": 1,
  "envVariables": [
    { "name": "TOOL_HOME", "value": "$IS_ROOT_DIR", "overwrite": true },
    { "name": "ä", "value": "", "overwrite": false }
  ],
  "VortanPaths": ["$IS_ROOT_DIR$IS_FILE_SEPm"],
  "JavaClassPaths": ["b.jar", "a.jar", "b.jar"]
})";

TEST(InstructionSetFile, GivesTheListsAsTheyStand) {
  auto const content = parseInstructionSet(fullSet, u"");
  ASSERT_EQ(content.envVariables.size(), 2u);
  EXPECT_EQ(content.envVariables[0].name, "TOOL_HOME");
  EXPECT_EQ(content.envVariables[0].value, "$IS_ROOT_DIR");
  EXPECT_TRUE(content.envVariables[0].overwrite);
  EXPECT_EQ(content.envVariables[1].name, "\xC3\xA4");
  EXPECT_EQ(content.envVariables[1].value, "");
  EXPECT_FALSE(content.envVariables[1].overwrite);
  EXPECT_THAT(content.VortanPaths, ElementsAre("$IS_ROOT_DIR$IS_FILE_SEPm"));
  EXPECT_THAT(content.JavaClassPaths, ElementsAre("b.jar", "a.jar", "b.jar"));
}

TEST(InstructionSetFile, ListsLeftOutAreEmpty) {
  auto const content = parseInstructionSet(R"({"version":1})", u"");
  EXPECT_THAT(content.VortanPaths, IsEmpty());
  EXPECT_THAT(content.JavaClassPaths, IsEmpty());
  EXPECT_TRUE(content.envVariables.empty());
}

TEST(InstructionSetFile, ByteOrderMarkIsSkipped) {
  EXPECT_EQ(refusalOf("\xEF\xBB\xBF{\"version\":1}"), "");
}

TEST(InstructionSetFile, SchemaAndLoaderTakeTheSameGoodDocuments) {
  for (std::string const good : {
           fullSet,
           R"({"version":1})",
           R"({"version":1.0,"envVariables":[],"VortanPaths":[],"JavaClassPaths":[]})",
           R"({"version":1,"$schema":""})",
           R"({"version":1,"envVariables":[{"name":"a b","value":"=|","overwrite":true}]})",
           R"({"version":1,"VortanPaths":[" ","\u007f","äöü"]})",
       }) {
    EXPECT_EQ(refusalOf(good), "") << good;
    EXPECT_TRUE(schemaAllows(good)) << good;
  }
}

struct Refused {
  char const* document;
  char const* refusal;
};

void PrintTo(Refused const& refused, std::ostream* out) {
  *out << refused.document;
}

class RefusedInstructionSet : public testing::TestWithParam<Refused> {};

TEST_P(RefusedInstructionSet, IsRefusedWithItsPlaceByTheLoaderAndByTheSchema) {
  auto const& [document, refusal] = GetParam();
  EXPECT_EQ(refusalOf(document), std::string("C:\\s.json: ") + refusal);
  EXPECT_FALSE(schemaAllows(document));
}

constexpr char const* wrongVersion =
    "/version: must be 1, the one version of the format that this program reads";

INSTANTIATE_TEST_SUITE_P(
    Documents, RefusedInstructionSet,
    testing::Values(
        Refused{R"([])", "must be an object"}, Refused{R"(null)", "must be an object"},
        Refused{R"({})", "/version: missing"}, Refused{R"({"version":2})", wrongVersion},
        Refused{R"({"version":"1"})", wrongVersion}, Refused{R"({"version":true})", wrongVersion},
        Refused{R"({"version":null})", wrongVersion}, Refused{R"({"version":1.5})", wrongVersion},
        Refused{R"({"version":1,"vortanPaths":[]})", "/vortanPaths: unknown member"},
        Refused{R"({"version":1,"a/b~":0})", "/a~1b~0: unknown member"},
        Refused{R"({"version":1,"$schema":1})", "/$schema: must be a text"},
        Refused{R"({"version":1,"VortanPaths":"C:\\x"})", "/VortanPaths: must be a list"},
        Refused{R"({"version":1,"VortanPaths":null})", "/VortanPaths: must be a list"},
        Refused{R"({"version":1,"VortanPaths":["x",1]})", "/VortanPaths/1: must be a text"},
        Refused{R"({"version":1,"JavaClassPaths":[""]})", "/JavaClassPaths/0: must not be empty"},
        Refused{R"({"version":1,"JavaClassPaths":["a","b\nc"]})",
                "/JavaClassPaths/1: must not contain control characters"},
        Refused{R"({"version":1,"JavaClassPaths":["a\u0000"]})",
                "/JavaClassPaths/0: must not contain control characters"},
        Refused{R"({"version":1,"envVariables":{}})", "/envVariables: must be a list"},
        Refused{R"({"version":1,"envVariables":[[]]})", "/envVariables/0: must be an object"},
        Refused{R"({"version":1,"envVariables":[{"value":"","overwrite":true}]})",
                "/envVariables/0/name: missing"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","overwrite":true}]})",
                "/envVariables/0/value: missing"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","value":""}]})",
                "/envVariables/0/overwrite: missing"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","value":"","overwrite":true,"x":1}]})",
                "/envVariables/0/x: unknown member"},
        Refused{R"({"version":1,"envVariables":[{"name":1,"value":"","overwrite":true}]})",
                "/envVariables/0/name: must be a text"},
        Refused{R"({"version":1,"envVariables":[{"name":"","value":"","overwrite":true}]})",
                "/envVariables/0/name: must not be empty"},
        Refused{R"({"version":1,"envVariables":[{"name":"a=b","value":"","overwrite":true}]})",
                R"(/envVariables/0/name: must not contain "=" or "|")"},
        Refused{R"({"version":1,"envVariables":[{"name":"a|b","value":"","overwrite":true}]})",
                R"(/envVariables/0/name: must not contain "=" or "|")"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","value":1,"overwrite":true}]})",
                "/envVariables/0/value: must be a text"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","value":"x\ny","overwrite":true}]})",
                "/envVariables/0/value: must not contain control characters"},
        Refused{R"({"version":1,"envVariables":[{"name":"a","value":"","overwrite":"true"}]})",
                "/envVariables/0/overwrite: must be true or false"}));

TEST(InstructionSetFile, NameGivenTwiceIsRefusedWhereverItIs) {
  EXPECT_EQ(refusalOf(R"({"version":1,"version":1})"),
            "C:\\s.json: /version: given more than once");
  EXPECT_EQ(refusalOf(R"({"version":1,"envVariables":[{"name":"a","name":"a"}]})"),
            "C:\\s.json: /envVariables/0/name: given more than once");
}

TEST(InstructionSetFile, WhatIsNoJsonIsRefusedWithLineAndColumn) {
  EXPECT_THAT(refusalOf("{\n  \"version\": 1,\n}"), StartsWith("C:\\s.json:3:1: not JSON: "));
  EXPECT_THAT(refusalOf(""), StartsWith("C:\\s.json:1:1: not JSON: "));
  EXPECT_THAT(refusalOf("{\"version\":1} x"), StartsWith("C:\\s.json:1:15: not JSON: "));
  EXPECT_THAT(refusalOf("{\"version\":1 // one\n}"), HasSubstr("not JSON"));
}

TEST(InstructionSetFile, BadUtf8IsRefused) {
  EXPECT_THAT(refusalOf("{\"version\":1,\"VortanPaths\":[\"\xFF\"]}"),
              StartsWith("C:\\s.json:1:30: not JSON: "));
  EXPECT_THAT(refusalOf(R"({"version":1,"VortanPaths":["\ud800"]})"), HasSubstr("surrogate"));
}

TEST(InstructionSetFile, DeepNestingIsRefusedBeforeItIsRead) {
  EXPECT_THAT(refusalOf("{\"version\":" + std::string(500'000, '[')),
              HasSubstr(": nested deeper than 8 levels"));
}

class InstrSetFromFile : public tests::MachineTest {
 protected:
  std::string refusalOfFile() {
    try {
      InstrSet(at(u"instructionset.json")).get_VortanPaths();
      return "";
    } catch (std::runtime_error const& refusal) {
      return refusal.what();
    }
  }
};

TEST_F(InstrSetFromFile, GivesEachList) {
  writeFile(at(u"instructionset.json"), fullSet);
  InstrSet const set(at(u"instructionset.json"));
  EXPECT_EQ(set.get_envVariables().size(), 2u);
  EXPECT_THAT(set.get_VortanPaths(), ElementsAre("$IS_ROOT_DIR$IS_FILE_SEPm"));
  EXPECT_THAT(set.get_JavaClassPaths(), ElementsAre("b.jar", "a.jar", "b.jar"));
}

TEST_F(InstrSetFromFile, ErrorInAnotherListIsAnErrorOfTheSet) {
  writeFile(at(u"instructionset.json"), R"({"version":1,"JavaClassPaths":[1]})");
  EXPECT_THAT(refusalOfFile(), HasSubstr("instructionset.json: /JavaClassPaths/0: "));
}

TEST_F(InstrSetFromFile, MissingFileIsNamed) {
  EXPECT_THAT(refusalOfFile(), HasSubstr("instructionset.json"));
}

TEST_F(InstrSetFromFile, FileWhoseReadingFailsIsNamed) {
  writeFile(at(u"instructionset.json"), fullSet);
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](std::string_view operation,
                              std::u16string_view) { return operation == "FileReader::read"; },
                           machine::ErrorCode::ioDevice);
  machine::ScopedMachine const scope(faulty);
  EXPECT_THAT(refusalOfFile(), HasSubstr("instructionset.json"));
}

TEST_F(InstrSetFromFile, LargestFileIsReadAndALargerOneRefused) {
  std::string text = R"({"version":1})";
  text.append(instructionSetSizeLimit - text.size(), ' ');
  writeFile(at(u"instructionset.json"), text);
  EXPECT_EQ(refusalOfFile(), "");
  writeFile(at(u"instructionset.json"), text + " ");
  EXPECT_THAT(refusalOfFile(), HasSubstr(": larger than 1048576 bytes"));
}

}  // namespace
}  // namespace install::cppinstrset
