#include <gtest/gtest.h>

#include "machine/machine.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine {

TEST(ScopedMachine, TheInnermostIsCurrent) {
  tests::TemporaryFolder one;
  tests::TemporaryFolder two;
  simulated::SimulatedMachine outer(one.path());
  simulated::SimulatedMachine inner(two.path());
  ScopedMachine const outerScope(outer);
  EXPECT_EQ(&current(), &outer);
  {
    ScopedMachine const innerScope(inner);
    EXPECT_EQ(&current(), &inner);
  }
  EXPECT_EQ(&current(), &outer);
}

}  // namespace machine
