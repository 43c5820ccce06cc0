#include "machine/default_machine.hpp"

#include <stdexcept>

namespace machine {

Machine& defaultMachine() {
  throw std::logic_error("no machine is current: make a machine::ScopedMachine first");
}

}  // namespace machine
