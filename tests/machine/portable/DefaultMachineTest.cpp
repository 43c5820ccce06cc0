#include <gtest/gtest.h>

#include <stdexcept>

#include "machine/machine.hpp"

namespace machine {

TEST(DefaultMachine, ThereIsNoneOnThisHost) {
  EXPECT_THROW(current(), std::logic_error);
}

}  // namespace machine
