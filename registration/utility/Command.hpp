#pragma once

#include "machine/api.hpp"

namespace registration::utility {

/// One registration step. Commands are immutable: both operations read only what the constructor
/// was given, may be called in any order and any number of times, and a call repeats the work.
/// Neither has a result; a failure is a line in the installation log or an exception.
class REGISTRATION_API Command {
 public:
  Command() = default;
  Command(Command const&) = default;
  Command& operator=(Command const&) = delete;
  virtual ~Command();

  /// Does the step, at installation.
  virtual void execute() const = 0;
  /// Takes it back, at removal or rollback; also on an object that never ran execute.
  virtual void undo() const = 0;
};

}  // namespace registration::utility
