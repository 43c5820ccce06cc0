#include "tests/machine/contract/contract.hpp"

namespace contract {

namespace {

/// Others of the tests may hold it for a moment.
constexpr std::chrono::seconds limit{60};

}  // namespace

TEST_P(MachineLockContract, IsHeldAndLetGo) {
  for (int i = 0; i < 2; ++i) EXPECT_NE(machine().lock().acquire(limit), nullptr);
}

TEST_P(MachineLockContract, WhoHoldsItNeedNotWaitForItself) {
  auto const outer = machine().lock().acquire(limit);
  EXPECT_NE(machine().lock().acquire(std::chrono::seconds(0)), nullptr);
  EXPECT_NE(machine().lock().acquire(std::chrono::seconds(0)), nullptr) << "after letting go";
}

}  // namespace contract
