// GACInstaller.exe ASSEMBLY: adds the assembly's path to GACInstaller.txt beside this program.
#include "record.hpp"

int wmain(int count, wchar_t** arguments) {
  return count == 2 && sample::appendLines(sample::besideProgram(L"GACInstaller.txt"),
                                           sample::linesOf(count, arguments))
             ? 0
             : 1;
}
