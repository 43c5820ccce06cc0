#include "machine/console.hpp"

#include <windows.h>

namespace machine {

namespace {

bool hasNoColorVariable() {
  return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1;
}

}  // namespace

Console::Console() : previousCodePage_(GetConsoleOutputCP()) {
  SetConsoleOutputCP(CP_UTF8);
  HANDLE const output = GetStdHandle(STD_OUTPUT_HANDLE);
  if (!GetConsoleMode(output, &previousMode_)) return;
  isTerminal_ = SetConsoleMode(output, previousMode_ | ENABLE_PROCESSED_OUTPUT |
                                           ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
  takesColours_ = isTerminal_ && !hasNoColorVariable();
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (GetConsoleScreenBufferInfo(output, &info) && info.srWindow.Right >= info.srWindow.Left) {
    columns_ = static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left) + 1;
  }
}

// A process without a console has no code page to return to.
Console::~Console() {
  if (isTerminal_) SetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), previousMode_);
  if (previousCodePage_ != 0) SetConsoleOutputCP(previousCodePage_);
}

}  // namespace machine
