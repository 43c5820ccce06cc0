// settings_tool.exe ARGUMENT...: adds its arguments to settings_tool.txt beside this program, one a
// line.
#include "record.hpp"

int wmain(int count, wchar_t** arguments) {
  return sample::appendLines(sample::besideProgram(L"settings_tool.txt"),
                             sample::linesOf(count, arguments))
             ? 0
             : 1;
}
