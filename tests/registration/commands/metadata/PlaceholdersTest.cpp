#include <gtest/gtest.h>

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

}  // namespace
}  // namespace registration::commands::metadata
