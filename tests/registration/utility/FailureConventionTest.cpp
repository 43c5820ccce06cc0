#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "registration/utility/failure_convention.hpp"

namespace registration::utility {
namespace {

class FailureConvention : public ::testing::Test {
 protected:
  std::vector<UString> messages;
  std::function<void(UString const&)> log = [this](UString const& m) { messages.push_back(m); };
};

TEST_F(FailureConvention, StandardExceptionIsTwoLinesAndEndsHere) {
  loggingFailure(log, u"Unable to do it", [] { throw std::runtime_error("x"); });
  EXPECT_EQ(messages, (std::vector<UString>{u"Unable to do it", u"x"}));
}

TEST_F(FailureConvention, SuccessLogsNothing) {
  bool ran = false;
  loggingFailure(log, u"Unable to do it", [&] { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_TRUE(messages.empty());
}

TEST_F(FailureConvention, OtherExceptionsPassAsTheyAre) {
  struct Foreign {
    int number;
  };
  try {
    loggingFailure(log, u"Unable to do it", [] { throw Foreign{42}; });
    FAIL() << "swallowed";
  } catch (Foreign const& passed) {
    EXPECT_EQ(passed.number, 42);
  }
  EXPECT_TRUE(messages.empty());
}

TEST_F(FailureConvention, TextThatIsNotUtf8IsConvertedWithReplacement) {
  loggingFailure(log, u"Unable to do it", [] { throw std::runtime_error("a\xFFz"); });
  EXPECT_EQ(messages.back(), u"a\uFFFDz");
}

TEST_F(FailureConvention, WhatLoggingThrowsReachesTheCaller) {
  auto const failing = [](UString const&) { throw std::logic_error("log is full"); };
  EXPECT_THROW(loggingFailure(failing, u"Unable to do it", [] { throw std::runtime_error("x"); }),
               std::logic_error);
}

}  // namespace
}  // namespace registration::utility
