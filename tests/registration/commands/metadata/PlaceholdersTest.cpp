#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/metadata/placeholders.hpp"

namespace registration::commands::metadata {
namespace {

TEST(WithReplaced, ReplacesEveryOccurrence) {
  EXPECT_EQ(withReplaced("$xa$x$x", "$x", "12"), "12a1212");
}

TEST(WithReplaced, LeavesTextWithoutTheTokenAlone) {
  EXPECT_EQ(withReplaced("$X$", "$x", "1"), "$X$");
  EXPECT_EQ(withReplaced("", "$x", "1"), "");
}

TEST(WithReplaced, DoesNotSearchWhatWasPutIn) {
  EXPECT_EQ(withReplaced("$x", "$x", "$x$x"), "$x$x");
  EXPECT_EQ(withReplaced("$$xx", "$x", ""), "$x");
}

TEST(WithReplaced, RefusesWhatWouldBecomeLongerThanAnEntryMayBe) {
  std::string const half(longestReplaced / 2, 'v');
  EXPECT_EQ(withReplaced("$x$x", "$x", half).size(), longestReplaced);
  EXPECT_THROW(withReplaced("$x$x.", "$x", half), std::length_error);
  EXPECT_THROW(withReplaced("$x.$x", "$x", half), std::length_error);
  std::string tokens;
  for (int i = 0; i < 500'000; ++i) tokens += "$x";
  EXPECT_THROW(withReplaced(tokens, "$x", half), std::length_error);
}

}  // namespace
}  // namespace registration::commands::metadata
