#if defined(_WIN32)

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "library.hpp"

namespace cppmicroservices {

namespace {

std::wstring wide(std::string const& utf8) {
  int const size = static_cast<int>(utf8.size());
  int const length =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, text.data(), length);
  // The loader's search flags want a path in the system's own form.
  std::replace(text.begin(), text.end(), L'/', L'\\');
  return text;
}

/// Keeps the system from asking the user about a file that cannot be loaded.
class NoErrorBoxes {
 public:
  NoErrorBoxes() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &before_); }
  ~NoErrorBoxes() { SetThreadErrorMode(before_, nullptr); }
  NoErrorBoxes(NoErrorBoxes const&) = delete;
  NoErrorBoxes& operator=(NoErrorBoxes const&) = delete;

 private:
  DWORD before_ = 0;
};

}  // namespace

Library::Library(std::string const& location) {
  NoErrorBoxes const quiet;
  handle_ = LoadLibraryExW(wide(location).c_str(), nullptr,
                           LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
  if (handle_ == nullptr) {
    throw std::runtime_error("Loading " + location + " failed with error " +
                             std::to_string(GetLastError()));
  }
}

void* Library::address(std::string const& name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name.c_str()));
}

}  // namespace cppmicroservices

#endif
