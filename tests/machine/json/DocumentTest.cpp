#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "machine/json/document.hpp"

namespace machine::json {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t limit = 4;

std::vector<std::string> errorsOf(std::string_view text) {
  std::vector<std::string> errors;
  parse(text, limit, [&](std::string const& place, std::string const& reason) {
    errors.push_back(errorLine("f", place, reason));
  });
  return errors;
}

TEST(JsonDocument, KeepsTheOrderOfMembers) {
  auto const document = parse(R"({"b":[1,{"x":null}],"a":"\u00e4","c":-1.5})", limit,
                              [](auto const&, auto const&) { FAIL(); });
  ASSERT_TRUE(document);
  EXPECT_EQ(document->dump(), "{\"b\":[1,{\"x\":null}],\"a\":\"\xC3\xA4\",\"c\":-1.5}");
}

TEST(JsonDocument, TellsLineAndColumnInCharacters) {
  EXPECT_THAT(errorsOf("{\n  \"a\": [\n    tru\n  ]\n}"),
              ElementsAre("f:3:8: not JSON: syntax error while parsing value - invalid literal"));
  EXPECT_THAT(errorsOf("{\"\xC3\xB6\": ]"), ElementsAre(HasSubstr("f:1:7: not JSON: ")));
  EXPECT_THAT(errorsOf("\xEF\xBB\xBF{x"), ElementsAre(HasSubstr("f:1:2: not JSON: ")));
  EXPECT_THAT(errorsOf("[1,\n 1e999]"),
              ElementsAre("f:2:2: not JSON: number overflow parsing '1e999'"));
  EXPECT_THAT(errorsOf("{} {}"), ElementsAre(HasSubstr("f:1:4: not JSON: ")));
}

TEST(JsonDocument, TellsEveryNameGivenTwiceAndGoesOn) {
  EXPECT_THAT(errorsOf(R"({"a/b":0,"a/b":0,"l":[[],{"x":1,"x":2}]})"),
              ElementsAre("f: /a~1b: given more than once", "f: /l/1/x: given more than once"));
}

TEST(JsonDocument, RefusesNestingBeyondTheLimit) {
  EXPECT_THAT(errorsOf("[[[[]]]]"), IsEmpty());
  EXPECT_THAT(errorsOf("[[[[[]]]]]"), ElementsAre("f: /0/0/0/0: nested deeper than 4 levels"));
  EXPECT_THAT(errorsOf(std::string(1'000'000, '[')),
              ElementsAre(HasSubstr("nested deeper than 4 levels")));
}

TEST(JsonDocument, ReportMayEndTheReading) {
  auto const throwing = [](std::string const&, std::string const&) {
    throw std::runtime_error("enough");
  };
  EXPECT_THROW(parse("{", limit, throwing), std::runtime_error);
  EXPECT_THROW(parse(R"({"a":0,"a":0})", limit, throwing), std::runtime_error);
}

TEST(JsonDocument, ThrowsTheFirstErrorWhereOneMakesItUseless) {
  auto const errorOf = [](std::string_view file, std::string_view text) {
    try {
      parse(file, text, limit);
      return std::string();
    } catch (std::runtime_error const& error) {
      return std::string(error.what());
    }
  };
  EXPECT_EQ(errorOf("f", R"({"a":0,"a":0,"b":[[[[]]]]})"), "f: /a: given more than once");
  EXPECT_EQ(errorOf("", R"({"a":0,"a":0})"), "/a: given more than once");
  EXPECT_THAT(errorOf("f", "{"), testing::StartsWith("f:1:2: not JSON: "));
  EXPECT_THAT(errorOf("", "{"), testing::StartsWith("1:2: not JSON: "));
  EXPECT_EQ(parse("f", "[1]", limit).dump(), "[1]");
}

TEST(JsonDocument, ShowsWhatItQuotesCutAndFitToPrint) {
  auto const errors = errorsOf("\"" + std::string(100'000, 'x'));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_LT(errors[0].size(), 400u);
  EXPECT_EQ(below("/a", "x\x1B[2J"), "/a/x\\u001B[2J");
  EXPECT_EQ(errorLine("a\nb", "", "r"), "a\\nb: r");
  EXPECT_EQ(errorLine("", "", "r"), "r");
}

}  // namespace
}  // namespace machine::json
