#pragma once

#include "machine/machine.hpp"

namespace machine {

/// The machine that is current without a ScopedMachine: the computer itself on Windows; elsewhere
/// there is none, and this throws std::logic_error.
Machine& defaultMachine();

}  // namespace machine
