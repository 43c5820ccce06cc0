#include "machine/default_machine.hpp"

#include "machine/windows/windows_machine.hpp"

namespace machine {

Machine& defaultMachine() {
  static windows::WindowsMachine machine;
  return machine;
}

}  // namespace machine
