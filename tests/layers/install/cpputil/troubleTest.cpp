#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "install/cpputil/message_limit.hpp"
#include "install/cpputil/trouble.hpp"

namespace install::cpputil::trouble {
namespace {

TEST(Trouble, WithoutAnObserverIsLost) {
  EXPECT_NO_THROW(tell({severity::error, u"x"}));
}

TEST(Trouble, ReachesEveryObserverTheOutermostFirst) {
  std::vector<UString> heard;
  scoped_observer const outer([&](report const& told) { heard.push_back(u"outer " + told.text); });
  {
    scoped_observer const inner(
        [&](report const& told) { heard.push_back(u"inner " + told.text); });
    tell({severity::warning, u"a"});
  }
  tell({severity::warning, u"b"});
  EXPECT_EQ(heard, (std::vector<UString>{u"outer a", u"inner a", u"outer b"}));
}

TEST(Trouble, ComesAsItWasTold) {
  std::vector<report> heard;
  scoped_observer const observer([&](report const& told) { heard.push_back(told); });
  tell({severity::error, u"C:\\x was not written", u"C:\\x", 2});
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].severity, severity::error);
  EXPECT_EQ(heard[0].text, u"C:\\x was not written");
  EXPECT_EQ(heard[0].subject, u"C:\\x");
  EXPECT_EQ(heard[0].logged_lines, 2u);
}

TEST(Trouble, ATextOrSubjectThatIsTooLongIsCutAndSaysSo) {
  std::vector<report> heard;
  scoped_observer const observer([&](report const& told) { heard.push_back(told); });
  UString const whole(longest_message, u'x');
  tell({severity::warning, whole, whole, 1});
  tell({severity::warning, whole + u"x", u"C:\\x", 2});
  tell({severity::warning, u"text", whole + u"x"});
  ASSERT_EQ(heard.size(), 3u);
  EXPECT_EQ(heard[0].text, whole);
  EXPECT_EQ(heard[0].subject, whole);
  EXPECT_EQ(heard[1].text, cut_message(whole + u"x"));
  EXPECT_EQ(heard[1].subject, u"C:\\x");
  EXPECT_EQ(heard[1].logged_lines, 2u);
  EXPECT_EQ(heard[2].text, u"text");
  EXPECT_EQ(heard[2].subject, cut_message(whole + u"x"));
}

TEST(Trouble, WhatAnObserverThrowsReachesWhoTold) {
  scoped_observer const observer([](report const&) { throw std::runtime_error("x"); });
  EXPECT_THROW(tell({severity::error, u"x"}), std::runtime_error);
}

TEST(Trouble, CodeOfARelativePlaceIsAWarning) {
  std::vector<report> heard;
  scoped_observer const observer([&](report const& told) { heard.push_back(told); });
  for (auto const* path : {u"C:\\a.exe", u"\\\\srv\\share\\a.exe", u"\\\\?\\C:\\a.exe"})
    warn_of_relative_code(path);
  EXPECT_TRUE(heard.empty());
  for (auto const* path : {u"a.exe", u".\\a.exe", u"\\a.exe", u"C:a.exe", u""})
    warn_of_relative_code(path);
  ASSERT_EQ(heard.size(), 5u);
  EXPECT_EQ(heard[1].severity, severity::warning);
  EXPECT_EQ(heard[1].text,
            u".\\a.exe is not absolute: which code is loaded or run there depends on the current "
            u"folder");
  EXPECT_EQ(heard[1].subject, u".\\a.exe");
}

}  // namespace
}  // namespace install::cpputil::trouble
