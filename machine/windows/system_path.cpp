#include "machine/windows/system_path.hpp"

#include <windows.h>

#include "machine/path_grammar.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

// MAX_PATH less room for a file name of the old form, which is what a new folder must leave.
constexpr std::size_t longestUsualPath = 240;

bool isTooLong(std::u16string_view path) {
  std::size_t const before = path_grammar::isAbsolute(path) ? 0 : GetCurrentDirectoryW(0, nullptr);
  return before + path.size() > longestUsualPath;
}

UString terminated(std::string_view operation, std::u16string_view path) {
  if (hasNul(path)) {
    throw systemError(operation, path, ERROR_INVALID_NAME);
  }
  return UString(path);
}

UString verbatim(UString const& absolute) {
  if (absolute.starts_with(u"\\\\?\\") || absolute.starts_with(u"\\\\.\\")) {
    return absolute;
  }
  return absolute.starts_with(u"\\\\") ? u"\\\\?\\UNC\\" + absolute.substr(2)
                                       : u"\\\\?\\" + absolute;
}

}  // namespace

UString fullPath(std::string_view operation, std::u16string_view path) {
  UString const given = terminated(operation, path);
  UString full = textFrom([&](wchar_t* buffer, DWORD size) {
    return GetFullPathNameW(wide(given), size, buffer, nullptr);
  });
  if (full.empty()) {
    throw systemError(operation, path);
  }
  return full;
}

UString systemPath(std::string_view operation, std::u16string_view path) {
  return path_grammar::isVerbatim(path) || !isTooLong(path) ? terminated(operation, path)
                                                            : verbatim(fullPath(operation, path));
}

}  // namespace machine::windows
