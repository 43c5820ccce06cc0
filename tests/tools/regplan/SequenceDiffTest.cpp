#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tools/regplan/report/sequence_diff.hpp"

namespace regplan {
namespace {

using machine::UString;
using Lines = std::vector<UString>;

/// "a -b +c": the edits with their lines.
std::string told(Lines const& before, Lines const& after) {
  std::string text;
  for (Edit const& edit : sequenceDiff(before, after)) {
    bool const isRemoved = edit.kind == Edit::Kind::remove;
    if (!text.empty()) text += ' ';
    if (isRemoved) text += '-';
    if (edit.kind == Edit::Kind::add) text += '+';
    text += machine::toUtf8((isRemoved ? before : after).at(edit.line));
  }
  return text;
}

/// What the edits make of `before`.
Lines applied(Lines const& before, Lines const& after) {
  Lines result;
  std::size_t next = 0;
  for (Edit const& edit : sequenceDiff(before, after)) {
    if (edit.kind == Edit::Kind::remove) {
      EXPECT_EQ(edit.line, next);
      ++next;
    } else if (edit.kind == Edit::Kind::add) {
      result.push_back(after.at(edit.line));
    } else {
      EXPECT_EQ(before.at(next), after.at(edit.line));
      result.push_back(before.at(next++));
    }
  }
  EXPECT_EQ(next, before.size());
  return result;
}

TEST(SequenceDiff, KeepsWhatIsEqual) {
  EXPECT_EQ(told({}, {}), "");
  EXPECT_EQ(told({u"a", u"b"}, {u"a", u"b"}), "a b");
}

TEST(SequenceDiff, TellsAddedAndRemovedLines) {
  EXPECT_EQ(told({}, {u"a"}), "+a");
  EXPECT_EQ(told({u"a"}, {}), "-a");
  EXPECT_EQ(told({u"a", u"c"}, {u"a", u"b", u"c"}), "a +b c");
  EXPECT_EQ(told({u"a", u"b", u"c"}, {u"a", u"x", u"c"}), "a -b +x c");
}

TEST(SequenceDiff, FindsTheFewestEdits) {
  EXPECT_EQ(
      told({u"a", u"b", u"c", u"a", u"b", u"b", u"a"}, {u"c", u"b", u"a", u"b", u"a", u"c"}).size(),
      std::string("-a -b c +b a b -b a +c").size());
}

TEST(SequenceDiff, KeepsTheOrderOfEqualLines) {
  EXPECT_EQ(told({u"a", u"a"}, {u"a"}), "a -a");
}

TEST(SequenceDiff, LeadsFromOneListToTheOther) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> length(0, 30);
  std::uniform_int_distribution<int> letter('a', 'e');
  auto const lines = [&] {
    Lines made(static_cast<std::size_t>(length(random)));
    for (UString& line : made) line = UString(1, static_cast<char16_t>(letter(random)));
    return made;
  };
  for (int i = 0; i < 500; ++i) {
    Lines const before = lines();
    Lines const after = lines();
    EXPECT_EQ(applied(before, after), after);
  }
}

TEST(SequenceDiff, ReplacesTheMiddleWhenAlmostEverythingDiffers) {
  Lines before = {u"first"};
  Lines after = {u"first"};
  for (int i = 0; i < 20000; ++i) {
    before.push_back(machine::toUtf16("b" + std::to_string(i)));
    after.push_back(machine::toUtf16("a" + std::to_string(i)));
  }
  before.push_back(u"last");
  after.push_back(u"last");
  auto const edits = sequenceDiff(before, after);
  EXPECT_EQ(edits.size(), 40002U);
  EXPECT_EQ(edits.front().kind, Edit::Kind::keep);
  EXPECT_EQ(edits.back().kind, Edit::Kind::keep);
  EXPECT_EQ(applied(before, after), after);
}

}  // namespace
}  // namespace regplan
