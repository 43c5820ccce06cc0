#pragma once

#include <string>
#include <string_view>

#include "registration/utility/types.hpp"
#include "tests/support/machine_fixture.hpp"

namespace tests {

/// The machine fixture with paths in place of their texts.
class CommandTest : public MachineTest {
 protected:
  registration::Path root() const { return MachineTest::root(); }
  void writeFile(registration::Path const& file, std::string_view bytes) {
    MachineTest::writeFile(file.ustring(), bytes);
  }
  std::string readFile(registration::Path const& file) {
    return MachineTest::readFile(file.ustring());
  }
  bool exists(registration::Path const& path) { return MachineTest::exists(path.ustring()); }
};

}  // namespace tests
