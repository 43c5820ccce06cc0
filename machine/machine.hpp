#pragma once

#include "machine/api.hpp"
#include "machine/clock.hpp"
#include "machine/downloads.hpp"
#include "machine/environment.hpp"
#include "machine/error.hpp"
#include "machine/files.hpp"
#include "machine/machine_lock.hpp"
#include "machine/modules.hpp"
#include "machine/processes.hpp"
#include "machine/registry.hpp"
#include "machine/services.hpp"
#include "machine/shell.hpp"
#include "machine/tasks.hpp"

namespace machine {

/// A computer as the installer's libraries see it. A decorator keeps another machine, hands out its
/// parts and puts its own in the place of those it watches or changes.
class Machine {
 public:
  virtual ~Machine() = default;

  virtual Files& files() = 0;
  virtual Registry& registry() = 0;
  virtual Environment& environment() = 0;
  virtual Shell& shell() = 0;
  virtual Processes& processes() = 0;
  virtual Modules& modules() = 0;
  virtual Tasks& tasks() = 0;
  virtual Services& services() = 0;
  virtual Downloads& downloads() = 0;
  virtual Clock& clock() = 0;
  virtual MachineLock& lock() = 0;
};

/// The machine that the layers work on: the innermost ScopedMachine's, else on Windows the real
/// one. Elsewhere, without a ScopedMachine, throws std::logic_error.
REGISTRATION_API Machine& current();

/// Makes a machine the current one for as long as this object lives. Scopes nest; they are for the
/// installer's one thread.
class REGISTRATION_API ScopedMachine {
 public:
  /// `machine` must outlive this object.
  explicit ScopedMachine(Machine& machine);
  ~ScopedMachine();
  ScopedMachine(ScopedMachine const&) = delete;
  ScopedMachine& operator=(ScopedMachine const&) = delete;

 private:
  Machine* previous_;
};

}  // namespace machine
