// automation_server.dll: its two functions add one line each to automation_server.txt in the folder
// that they are given: the function's name and the three texts, separated by "|".
#include "record.hpp"

namespace {

void record(char const* function, char const* folder, char const* argument,
            char const* executable) {
  sample::appendLines(
      sample::wide(folder) + L"\\automation_server.txt",
      std::string(function) + "|" + folder + "|" + argument + "|" + executable + "\n");
}

}  // namespace

extern "C" __declspec(dllexport) void RegisterOLEServer2(char const* folder, char const* argument,
                                                         char const* executable) {
  record("RegisterOLEServer2", folder, argument, executable);
}

extern "C" __declspec(dllexport) void UnRegisterOLEServer2(char const* folder, char const* argument,
                                                           char const* executable) {
  record("UnRegisterOLEServer2", folder, argument, executable);
}
