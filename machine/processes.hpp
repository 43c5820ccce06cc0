#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// Where a child's output goes.
struct ProcessOutput {
  enum class Kind {
    inherit,         ///< the parent's own
    pipe,            ///< to `reader`, chunk by chunk as it comes
    overwriteFile,   ///< `file`, emptied first
    appendFile,      ///< the end of `file`
    discard,         ///< nowhere
    mergeWithOutput  ///< for standard error only: wherever standard output goes
  };
  Kind kind = Kind::inherit;
  UString file;
  std::function<void(std::string_view bytes)> reader;
};

/// A program to start.
struct ProcessStart {
  UString program;
  std::vector<UString> arguments;  ///< each arrives in the child exactly as given
  bool noWindow = false;           ///< no console window for the child
  bool detached = false;           ///< no console shared with this process
  ProcessOutput standardOutput;
  ProcessOutput standardError;
};

/// A started child. Its destructor neither waits for the child nor ends it.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;
  /// Waits for the end of the child and of its piped output; the exit code. May be asked again.
  virtual std::uint32_t wait() = 0;
  /// Lets the child run on by itself: piped output is no longer read. REQUIRES: not waited for.
  virtual void detach() = 0;
};

class Processes {
 public:
  virtual ~Processes() = default;
  /// Starts the program; it inherits no handle but its standard ones. Throws SystemError when it
  /// cannot be started, std::invalid_argument for a combination that makes no sense.
  virtual std::unique_ptr<ChildProcess> start(ProcessStart const& what) = 0;
  /// Has the shell open a program, hidden, with `parameters` as they stand, and does not wait for
  /// it: ShellExecuteExW with mask 0 and the verb "open". False when the shell refuses.
  virtual bool shellExecute(std::u16string_view program, std::u16string_view parameters) = 0;
};

}  // namespace machine
