#include "foundation/core/process.hpp"

#include <stdexcept>
#include <utility>

#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"

namespace foundation::core::process {

using Kind = machine::ProcessOutput::Kind;

command::command(std::string program, std::vector<std::string> arguments)
    : program_(std::move(program)), arguments_(std::move(arguments)) {}

target target::inherit() {
  return target({Kind::inherit, {}, {}});
}

target target::pipe(std::function<void(std::string_view bytes)> reader) {
  if (!reader) {
    throw std::invalid_argument("a piped output needs a reader");
  }
  return target({Kind::pipe, {}, std::move(reader)});
}

target target::overwrite(fl::filesystem::Path file) {
  return target({Kind::overwriteFile, file.ustring(), {}});
}

target target::append(fl::filesystem::Path file) {
  return target({Kind::appendFile, file.ustring(), {}});
}

target target::discard() {
  return target({Kind::discard, {}, {}});
}

target target::merge_with_std_out() {
  return target({Kind::mergeWithOutput, {}, {}});
}

context& context::create_no_window(bool yes) {
  no_window_ = yes;
  return *this;
}

context& context::detached_process(bool yes) {
  detached_ = yes;
  return *this;
}

context& context::std_out(target where) {
  std_out_ = std::move(where);
  return *this;
}

context& context::std_err(target where) {
  std_err_ = std::move(where);
  return *this;
}

process::process(command const& what, context const& how) {
  if (how.std_out_.output_.kind == Kind::mergeWithOutput) {
    throw std::invalid_argument("standard output cannot be merged with itself");
  }
  machine::ProcessStart start;
  start.program = fl::i18n::utf8_to_ustring(what.program());
  for (std::string const& argument : what.arguments()) {
    start.arguments.push_back(fl::i18n::utf8_to_ustring(argument));
  }
  install::cpputil::trouble::warn_of_relative_code(start.program);
  start.noWindow = how.no_window_;
  start.detached = how.detached_;
  start.standardOutput = how.std_out_.output_;
  start.standardError = how.std_err_.output_;
  child_ = machine::current().processes().start(start);
}

process::~process() = default;
process::process(process&&) noexcept = default;
process& process::operator=(process&&) noexcept = default;

std::uint32_t process::exit_status() {
  if (!child_) {
    throw std::logic_error("a detached child has no exit status");
  }
  std::uint32_t const status = child_->wait();
  ended_ = true;
  return status;
}

void process::detach() {
  if (child_ && !ended_) {
    child_->detach();
    child_.reset();
  }
}

}  // namespace foundation::core::process
