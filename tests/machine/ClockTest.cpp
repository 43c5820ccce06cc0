#include <gtest/gtest.h>

#include "machine/clock.hpp"

namespace machine {
namespace {

TEST(ToIso8601, IsUtcWithMilliseconds) {
  using namespace std::chrono;
  EXPECT_EQ(toIso8601(system_clock::time_point()), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(toIso8601(sys_days(2026y / November / 21) + 8h + 30min + 123ms),
            "2026-11-21T08:30:00.123Z");
  EXPECT_EQ(toIso8601(sys_days(1969y / December / 31) + 23h + 59min + 59s + 999ms),
            "1969-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace machine
