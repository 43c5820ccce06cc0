#include <gtest/gtest.h>

#include "install/cpputil/versions.hpp"

namespace install::cpputil {
namespace {

TEST(Versions, AreComparedFieldByField) {
  EXPECT_EQ(compareVersions(u"10.0", u"9.9.9"), 1);
  EXPECT_EQ(compareVersions(u"1.9", u"1.10"), -1);
  EXPECT_EQ(compareVersions(u"1.2", u"1.2.0.0"), 0);
  EXPECT_EQ(compareVersions(u"1.2", u"1.2.0.1"), -1);
  EXPECT_EQ(compareVersions(u"", u"0"), 0);
  EXPECT_EQ(compareVersions(u"1.a", u"1.0"), 0);
}

TEST(Versions, FieldsMayBeNegativeOrBeyondInt) {
  EXPECT_EQ(compareVersions(u"1.-1", u"1"), -1);
  EXPECT_EQ(compareVersions(u"99999999999999999999", u"2147483647"), 0);
}

}  // namespace
}  // namespace install::cpputil
