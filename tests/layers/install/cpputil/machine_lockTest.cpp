#include <gtest/gtest.h>

#include <vector>

#include "install/cpputil/machine_lock.hpp"
#include "machine/machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::cpputil {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Held by another process until somebody has waited so often.
class HeldElsewhere final : public machine::MachineLock {
 public:
  explicit HeldElsewhere(std::size_t times) : times_(times) {}
  std::vector<milliseconds> waited;

  std::shared_ptr<Held> acquire(milliseconds limit) override {
    waited.push_back(limit);
    if (waited.size() <= times_) {
      throw machine::SystemError("lock the machine", u"it", machine::ErrorCode::timeout);
    }
    return std::make_shared<Held>();
  }

 private:
  std::size_t times_;
};

class MachineLock : public tests::MachineTest {
 protected:
  /// Has the lock be held by others so often.
  HeldElsewhere& holdElsewhere(std::size_t times) {
    lock_.emplace(times);
    other_.replace(*lock_);
    scope_.emplace(other_);
    return *lock_;
  }

  int told = 0;
  machine_lock::waiting const tell = [this] { ++told; };

 private:
  tests::SubstitutedMachine other_{machine()};
  std::optional<HeldElsewhere> lock_;
  std::optional<machine::ScopedMachine> scope_;
};

TEST_F(MachineLock, ThatIsFreeIsHadWithoutAWord) {
  auto& lock = holdElsewhere(0);
  machine_lock const held(seconds(5), tell);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(lock.waited, std::vector<milliseconds>{milliseconds(0)});
}

TEST_F(MachineLock, ThatIsHeldIsWaitedForAndTold) {
  auto& lock = holdElsewhere(1);
  machine_lock const held(seconds(5), tell);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(lock.waited, (std::vector<milliseconds>{milliseconds(0), seconds(5)}));
}

TEST_F(MachineLock, ThatIsHeldForLongerThanTheLimitIsAnErrorOfItsOwn) {
  holdElsewhere(2);
  try {
    machine_lock const held(seconds(5), tell);
    FAIL() << "was had";
  } catch (machine_busy const& busy) {
    EXPECT_STREQ(busy.what(),
                 "another installation, removal or restore has not ended within 5 seconds");
  }
  EXPECT_EQ(told, 1);
}

TEST_F(MachineLock, WithoutALimitIsNotWaitedFor) {
  auto& lock = holdElsewhere(1);
  EXPECT_THROW(machine_lock(seconds(0), tell), machine_busy);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(lock.waited.size(), 1u);
}

TEST_F(MachineLock, IsSharedWithinTheProcess) {
  machine_lock const outer;
  machine_lock const inner{seconds(0), tell};
  EXPECT_EQ(told, 0);
}

}  // namespace
}  // namespace install::cpputil
