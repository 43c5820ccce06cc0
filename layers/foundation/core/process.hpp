#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"
#include "machine/processes.hpp"

/// Child processes of the current machine.
namespace foundation::core::process {

/// The program to run and its arguments, UTF-8. Each argument arrives in the child exactly as
/// given: blanks, quotes, trailing backslashes and empty ones included.
class REGISTRATION_API command {
 public:
  explicit command(std::string program, std::vector<std::string> arguments = {});
  std::string const& program() const { return program_; }
  std::vector<std::string> const& arguments() const { return arguments_; }

 private:
  std::string program_;
  std::vector<std::string> arguments_;
};

/// Where a child's output goes.
class REGISTRATION_API target {
 public:
  /// The parent's own (the default).
  static target inherit();
  /// To `reader`, chunk by chunk, called from a thread of the process object until exit_status()
  /// has returned or detach() was called. Throws std::invalid_argument for an empty function.
  static target pipe(std::function<void(std::string_view bytes)> reader);
  static target overwrite(fl::filesystem::Path file);
  static target append(fl::filesystem::Path file);
  static target discard();
  /// For std_err only: wherever standard output goes, in the order written.
  static target merge_with_std_out();

 private:
  friend class process;
  explicit target(machine::ProcessOutput output) : output_(std::move(output)) {}
  machine::ProcessOutput output_;
};

/// How to run it. By default: a console shared with the parent, everything inherited.
class REGISTRATION_API context {
 public:
  context& create_no_window(bool yes);
  context& detached_process(bool yes);
  context& std_out(target where);
  context& std_err(target where);

 private:
  friend class process;
  bool no_window_ = false;
  bool detached_ = false;
  target std_out_ = target::inherit();
  target std_err_ = target::inherit();
};

/// A running child. Its destructor lets the child run on.
class REGISTRATION_API process {
 public:
  /// Starts the child. Throws machine::SystemError (a std::runtime_error) when it cannot be
  /// started, std::invalid_argument when standard output is to be merged with itself.
  process(command const& what, context const& how);
  ~process();
  process(process&&) noexcept;
  process& operator=(process&&) noexcept;

  /// Waits for the child to end and returns its exit code. May be called again. Throws
  /// std::logic_error after detach().
  std::uint32_t exit_status();
  /// Lets the child run on without waiting for it; nothing when it has ended or is detached.
  void detach();

 private:
  std::unique_ptr<machine::ChildProcess> child_;
  bool ended_ = false;
};

}  // namespace foundation::core::process
