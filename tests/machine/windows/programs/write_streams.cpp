// write_streams COUNT: writes "out 1", "err 1", "out 2", "err 2" ... by turns to standard output
// and standard error, each handed to the system before the next.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cwchar>

int wmain(int count, wchar_t** arguments) {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  long const lines = count > 1 ? std::wcstol(arguments[1], nullptr, 10) : 1;
  for (long line = 1; line <= lines; ++line) {
    std::fprintf(stdout, "out %ld\n", line);
    std::fflush(stdout);
    std::fprintf(stderr, "err %ld\n", line);
    std::fflush(stderr);
  }
  return 0;
}
