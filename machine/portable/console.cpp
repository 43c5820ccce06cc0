#include "machine/console.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

namespace machine {

namespace {

/// Asked for in main, before there is a second thread.
std::string_view variable(char const* name) {
  char const* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
  return value ? value : "";
}

}  // namespace

Console::Console()
    : isTerminal_(isatty(STDOUT_FILENO) != 0 && variable("TERM") != "dumb" &&
                  !variable("TERM").empty()),
      takesColours_(isTerminal_ && variable("NO_COLOR").empty()) {
  // Who stops reading must not stop the work half-way: writing fails then, and nothing else.
  std::signal(SIGPIPE, SIG_IGN);
  winsize size{};
  if (isTerminal_ && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    columns_ = size.ws_col;
  }
}

Console::~Console() = default;

}  // namespace machine
