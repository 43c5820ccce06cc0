#include "machine/windows/system_error.hpp"

#include <string>

#include "machine/unicode.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

UString messageIn(DWORD language, DWORD code) {
  wchar_t* text = nullptr;
  // FORMAT_MESSAGE_ALLOCATE_BUFFER has the call put a pointer where the buffer would be.
  FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, language, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  UniqueLocalText const owner(text);
  return text ? UString(unitsOf(text)) : UString();
}

std::string reasonOf(DWORD code) {
  UString message = messageIn(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), code);
  if (message.empty()) {
    message = messageIn(0, code);
  }
  message.resize(message.find_last_not_of(u" \r\n") + 1);
  return toUtf8(message);
}

}  // namespace

SystemError systemError(std::string_view operation, std::u16string_view subject, DWORD code) {
  return SystemError(operation, subject, code, reasonOf(code));
}

}  // namespace machine::windows
