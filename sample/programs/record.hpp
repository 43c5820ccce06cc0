#pragma once

#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>

/// What the sample programs leave behind of a run: UTF-8 text files, one line a fact.
namespace sample {

inline std::string utf8(std::wstring_view text) {
  auto const units = static_cast<int>(text.size());
  int const size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

inline std::wstring wide(std::string_view text) {
  auto const bytes = static_cast<int>(text.size());
  int const size = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
  std::wstring units(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, units.data(), size);
  return units;
}

/// The file of a module, or of the program with a null one.
inline std::wstring fileOf(HMODULE module) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    DWORD const length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    bool const fits = length < path.size();
    path.resize(fits ? length : path.size() * 2);
    if (fits) {
      return path;
    }
  }
}

/// `name` in the folder of this program.
inline std::wstring besideProgram(std::wstring_view name) {
  std::wstring path = fileOf(nullptr);
  path.resize(path.find_last_of(L'\\') + 1);
  return path.append(name);
}

/// Appends the lines in one piece, so that a reader sees all of them or none. False when it cannot.
inline bool appendLines(std::wstring const& file, std::string_view lines) {
  HANDLE const handle = CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return false;
  }
  DWORD written = 0;
  bool const all =
      WriteFile(handle, lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr) &&
      written == lines.size();
  CloseHandle(handle);
  return all;
}

/// The program's arguments, one a line.
inline std::string linesOf(int count, wchar_t** arguments) {
  std::string lines;
  for (int i = 1; i < count; ++i) {
    lines += utf8(arguments[i]) + "\n";
  }
  return lines;
}

}  // namespace sample
