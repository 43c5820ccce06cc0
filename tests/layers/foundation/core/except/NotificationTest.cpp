#include <gtest/gtest.h>

#include "foundation/core/except/Notification.hpp"

namespace foundation::core::except {
namespace {

TEST(Notification, KeepsWarningsInOrder) {
  Notification notification;
  EXPECT_TRUE(notification.warnings().empty());
  notification.warn({u"a", 2, u"x"});
  notification.warn({u"b", 0, u"y"});
  EXPECT_EQ(notification.warnings(), (std::vector<Warning>{{u"a", 2, u"x"}, {u"b", 0, u"y"}}));
}

TEST(Notification, AWarningReadsAsOneText) {
  EXPECT_EQ((Warning{u"C:\\a.txt", 12, u"not UTF-8"}.text()), u"C:\\a.txt, line 12: not UTF-8");
  EXPECT_EQ((Warning{u"C:\\a", 0, u"closed"}.text()), u"C:\\a: closed");
}

}  // namespace
}  // namespace foundation::core::except
