#include "fl/i18n/ustring.hpp"

#include "machine/machine.hpp"
#include "machine/unicode.hpp"

namespace fl::i18n {

UString to_ustring(std::string_view utf8) {
  return machine::toUtf16(utf8);
}

UString to_ustring(std::string const& utf8) {
  return machine::toUtf16(utf8);
}

UString to_ustring(char const* utf8) {
  return utf8 == nullptr ? UString() : machine::toUtf16(utf8);
}

UString to_ustring(std::wstring_view wide) {
  return machine::fromWide(wide);
}

UString to_ustring(std::wstring const& wide) {
  return machine::fromWide(wide);
}

UString to_ustring(wchar_t const* wide) {
  return wide == nullptr ? UString() : machine::fromWide(wide);
}

std::string to_string(UString const& text) {
  return machine::toUtf8(text);
}

std::wstring to_wstring(UString const& text) {
  return machine::toWide(text);
}

UString utf8_to_ustring(std::string_view utf8) {
  return machine::toUtf16(utf8);
}

std::string ustring_to_utf8(UString const& text) {
  return machine::toUtf8(text);
}

UString getenv(char const* name) {
  if (name == nullptr) {
    return {};
  }
  return machine::current().environment().variable(to_ustring(name)).value_or(UString());
}

}  // namespace fl::i18n
