#include "machine/machine.hpp"

#include <utility>

#include "machine/default_machine.hpp"

namespace machine {

namespace {

/// The innermost ScopedMachine's machine.
Machine* scoped = nullptr;

}  // namespace

Machine& current() {
  return scoped != nullptr ? *scoped : defaultMachine();
}

ScopedMachine::ScopedMachine(Machine& machine) : previous_(std::exchange(scoped, &machine)) {}

ScopedMachine::~ScopedMachine() {
  scoped = previous_;
}

}  // namespace machine
