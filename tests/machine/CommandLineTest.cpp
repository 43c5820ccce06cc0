#include <gtest/gtest.h>

#include <random>

#include "machine/command_line.hpp"

namespace {

using machine::UString;
using machine::command_line::join;
using machine::command_line::quoted;

/// Reads a command line as the Microsoft C run time does, written from its published rules.
class Parser {
 public:
  explicit Parser(std::u16string_view line) : rest_(line) {}

  std::vector<UString> all() {
    std::vector<UString> names{program()};
    for (skipBlanks(); !rest_.empty(); skipBlanks()) {
      names.push_back(argument());
    }
    return names;
  }

 private:
  static bool isBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }

  char16_t take() {
    char16_t const unit = rest_.front();
    rest_.remove_prefix(1);
    return unit;
  }

  void skipBlanks() {
    while (!rest_.empty() && isBlank(rest_.front())) {
      take();
    }
  }

  /// The first name: quotes only switch, backslashes mean nothing.
  UString program() {
    UString name;
    bool isQuoted = false;
    while (!rest_.empty() && (isQuoted || !isBlank(rest_.front()))) {
      char16_t const unit = take();
      if (unit == u'"') {
        isQuoted = !isQuoted;
      } else {
        name += unit;
      }
    }
    return name;
  }

  /// 2n backslashes and a quote: n backslashes and a switch; 2n+1: n backslashes and a quote; two
  /// quotes within quotes: a quote.
  UString argument() {
    UString text;
    bool isQuoted = false;
    while (!rest_.empty() && (isQuoted || !isBlank(rest_.front()))) {
      std::size_t backslashes = 0;
      while (!rest_.empty() && rest_.front() == u'\\') {
        take();
        ++backslashes;
      }
      if (rest_.empty() || rest_.front() != u'"') {
        text.append(backslashes, u'\\');
        if (!rest_.empty() && (isQuoted || !isBlank(rest_.front()))) {
          text += take();
        }
        continue;
      }
      text.append(backslashes / 2, u'\\');
      take();
      if (backslashes % 2 == 1) {
        text += u'"';
      } else if (isQuoted && !rest_.empty() && rest_.front() == u'"') {
        text += take();
      } else {
        isQuoted = !isQuoted;
      }
    }
    return text;
  }

  std::u16string_view rest_;
};

TEST(CommandLine, PlainTextStaysAsItIs) {
  EXPECT_EQ(quoted(u"-m"), u"-m");
  EXPECT_EQ(quoted(u"C:\\folder\\"), u"C:\\folder\\");
}

TEST(CommandLine, AnEmptyArgumentIsKept) {
  EXPECT_EQ(quoted(u""), u"\"\"");
}

TEST(CommandLine, BlanksAndTabsAreQuoted) {
  EXPECT_EQ(quoted(u"a b"), u"\"a b\"");
  EXPECT_EQ(quoted(u"a\tb"), u"\"a\tb\"");
}

TEST(CommandLine, WildcardsAreQuotedSoThatNoRunTimeExpandsThem) {
  EXPECT_EQ(quoted(u"*.exe"), u"\"*.exe\"");
}

TEST(CommandLine, BackslashesAreDoubledBeforeAQuoteAndAtTheEndOnly) {
  EXPECT_EQ(quoted(u"a\"b"), u"\"a\\\"b\"");
  EXPECT_EQ(quoted(u"a\\\"b"), u"\"a\\\\\\\"b\"");
  EXPECT_EQ(quoted(u"C:\\a b\\"), u"\"C:\\a b\\\\\"");
  EXPECT_EQ(quoted(u"C:\\a b\\c"), u"\"C:\\a b\\c\"");
}

TEST(CommandLine, TheProgramIsAlwaysQuotedAndItsBackslashesStay) {
  EXPECT_EQ(join(u"C:\\Program Files\\x.exe", {u"a b", u"c"}),
            u"\"C:\\Program Files\\x.exe\" \"a b\" c");
  EXPECT_EQ(join(u"C:\\bin\\", {}), u"\"C:\\bin\\\"");
}

TEST(CommandLine, EveryArgumentArrivesAsGiven) {
  std::vector<UString> const arguments{u"",
                                       u" ",
                                       u"\"",
                                       u"\\",
                                       u"\\\\",
                                       u"\\\"",
                                       u"a b\\",
                                       u"a b\\\\",
                                       u"\"\"",
                                       u"a\"b\" c",
                                       u"\\\\srv\\x y\\",
                                       u"'single'",
                                       u"%PATH%",
                                       u"a^b&c|d",
                                       u"\u00fc\u4e16\U0001F600",
                                       u"x\\\\\"y",
                                       u"line\nbreak"};
  UString const line = join(u"C:\\Program Files\\x.exe", arguments);
  std::vector<UString> expected{u"C:\\Program Files\\x.exe"};
  expected.insert(expected.end(), arguments.begin(), arguments.end());
  EXPECT_EQ(Parser(line).all(), expected);
}

TEST(CommandLine, AnyMixOfTheSpecialUnitsArrivesAsGiven) {
  std::mt19937 random(1);
  std::u16string_view const units = u"\\\\\\\"\" \ta*";
  for (int round = 0; round < 2000; ++round) {
    std::vector<UString> arguments(1 + random() % 4);
    for (auto& argument : arguments) {
      for (auto length = random() % 8; length > 0; --length) {
        argument += units[random() % units.size()];
      }
    }
    UString const line = join(u"x", arguments);
    arguments.insert(arguments.begin(), u"x");
    ASSERT_EQ(Parser(line).all(), arguments) << machine::toUtf8(line);
  }
}

}  // namespace
