#include "machine/windows/system_path.hpp"

#include <windows.h>

#include "machine/path_grammar.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

// MAX_PATH less room for a file name of the old form, which is what a new folder must leave.
constexpr std::size_t longestUsualPath = 240;

/// Of the path that the system makes of a relative one.
std::size_t fullLength(std::u16string_view path) {
  return path.size() + (path_grammar::isAbsolute(path) ? 0 : GetCurrentDirectoryW(0, nullptr));
}

UString checked(std::string_view operation, std::u16string_view path) {
  if (auto const problem = pathProblem(path)) {
    throw systemError(operation, path, problem);
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

std::uint32_t pathProblem(std::u16string_view path) {
  if (hasNul(path)) {
    return ERROR_INVALID_NAME;
  }
  bool const isTooLong =
      path_grammar::isTooLong(path) || fullLength(path) > path_grammar::longestPath;
  return isTooLong ? ERROR_FILENAME_EXCED_RANGE : ERROR_SUCCESS;
}

UString fullPath(std::string_view operation, std::u16string_view path) {
  UString const given = checked(operation, path);
  UString full = textFrom([&](wchar_t* buffer, DWORD size) {
    return GetFullPathNameW(wide(given), size, buffer, nullptr);
  });
  if (full.empty()) {
    throw systemError(operation, path);
  }
  return full;
}

UString verbatimPath(std::string_view operation, std::u16string_view path) {
  if (path_grammar::isVerbatim(path)) {
    return checked(operation, path);
  }
  UString const full = verbatim(fullPath(operation, path));
  // In any folder names such as CON and COM1 are devices.
  if (full.starts_with(u"\\\\.\\")) {
    throw systemError(operation, path, ERROR_INVALID_NAME);
  }
  return checked(operation, full);
}

UString systemPath(std::string_view operation, std::u16string_view path) {
  return path_grammar::isVerbatim(path) || fullLength(path) <= longestUsualPath
             ? checked(operation, path)
             : checked(operation, verbatim(fullPath(operation, path)));
}

}  // namespace machine::windows
