// print_arguments FILE [ARGUMENT...]: writes one line for each argument after FILE, as the C run
// time gave it: its UTF-16 units, four hexadecimal digits each; then one line for each standard
// handle with its kind.
#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace {

char const* kindOf(DWORD which) {
  HANDLE const handle = GetStdHandle(which);
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
    return "none";
  }
  switch (GetFileType(handle)) {
    case FILE_TYPE_DISK:
      return "file";
    case FILE_TYPE_CHAR:
      return "character device";
    case FILE_TYPE_PIPE:
      return "pipe";
    default:
      return "unknown";
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 2) {
    return 2;
  }
  std::FILE* const file = _wfopen(arguments[1], L"wb");
  if (file == nullptr) {
    return 1;
  }
  for (int i = 2; i < count; ++i) {
    for (wchar_t const* unit = arguments[i]; *unit != L'\0'; ++unit) {
      std::fprintf(file, "%04x", static_cast<unsigned>(*unit));
    }
    std::fputc('\n', file);
  }
  std::fprintf(file, "in: %s\nout: %s\nerror: %s\n", kindOf(STD_INPUT_HANDLE),
               kindOf(STD_OUTPUT_HANDLE), kindOf(STD_ERROR_HANDLE));
  return std::fclose(file) == 0 ? 0 : 1;
}
