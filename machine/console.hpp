#pragma once

#include <cstddef>

#include "machine/api.hpp"

namespace machine {

/// What this process's standard output goes to. A console shows it as UTF-8 and obeys escape
/// sequences (ECMA-48) for as long as the object lives; nothing changes where the output goes
/// elsewhere. Once it was made, a reader that goes away makes writing fail, and does not end the
/// process.
class REGISTRATION_API Console {
 public:
  Console();
  // Windows has something to put back. NOLINTNEXTLINE(performance-trivially-destructible)
  ~Console();
  Console(Console const&) = delete;
  Console& operator=(Console const&) = delete;

  /// It is looked at, and lines can be rewritten.
  bool isTerminal() const { return isTerminal_; }
  /// Nor does the environment say NO_COLOR (no-color.org).
  bool takesColours() const { return takesColours_; }
  /// How many fit into a line.
  std::size_t columns() const { return columns_; }

 private:
  bool isTerminal_ = false;
  bool takesColours_ = false;
  std::size_t columns_ = 80;
  unsigned previousCodePage_ = 0;
  unsigned long previousMode_ = 0;
};

}  // namespace machine
