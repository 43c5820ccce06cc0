#include "machine/windows/console.hpp"

#include <windows.h>

namespace machine::windows {

Utf8Console::Utf8Console() : previousCodePage_(GetConsoleOutputCP()) {
  SetConsoleOutputCP(CP_UTF8);
}

// A process without a console has no code page to return to.
Utf8Console::~Utf8Console() {
  if (previousCodePage_ != 0) SetConsoleOutputCP(previousCodePage_);
}

}  // namespace machine::windows
