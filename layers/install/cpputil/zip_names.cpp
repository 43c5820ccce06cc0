#include "install/cpputil/zip_names.hpp"

#include <algorithm>
#include <array>

#include "fl/i18n/ustring.hpp"
#include "machine/unicode.hpp"

namespace install::cpputil {

using fl::i18n::UString;

namespace {

constexpr std::size_t longestComponent = 255;  // UTF-16 units
constexpr std::size_t longestName = 2000;      // leaves room for the target folder below 32,767

/// COM1 to COM9 and LPT1 to LPT9, whose digit may also be a superscript one, and the others.
bool isDevice(std::u16string_view stem) {
  constexpr std::array<std::u16string_view, 6> devices{u"CON", u"PRN",    u"AUX",
                                                       u"NUL", u"CONIN$", u"CONOUT$"};
  auto const isStem = [&](std::u16string_view device) {
    return machine::equalIgnoringCase(stem, device);
  };
  if (std::any_of(devices.begin(), devices.end(), isStem)) {
    return true;
  }
  constexpr std::u16string_view digits = u"0123456789\u00B9\u00B2\u00B3";
  auto const port = stem.substr(0, 3);
  return stem.size() == 4 && digits.find(stem[3]) != digits.npos &&
         (machine::equalIgnoringCase(port, u"COM") || machine::equalIgnoringCase(port, u"LPT"));
}

/// A device's name counts with any extension too, and with blanks before it.
bool namesDevice(std::u16string_view component) {
  auto stem = component.substr(0, component.find_first_of(u".:"));
  while (stem.ends_with(u' ')) {
    stem.remove_suffix(1);
  }
  return isDevice(stem);
}

std::string problemOfComponent(std::u16string_view component) {
  if (component.empty()) {
    return "an empty name";
  }
  if (component == u"." || component == u"..") {
    return "a name that leads elsewhere";
  }
  if (component.find_first_of(u"\\:") != component.npos) {
    return "a backslash, a drive or an alternate data stream";
  }
  constexpr std::u16string_view forbidden = u"\"*<>?|\u007F";
  auto const isForbidden = [&](char16_t unit) {
    return unit < u' ' || forbidden.find(unit) != forbidden.npos;
  };
  if (std::any_of(component.begin(), component.end(), isForbidden)) {
    return "a character that file names cannot have";
  }
  if (component.ends_with(u'.') || component.ends_with(u' ')) {
    return "a dot or a blank at the end of a name";
  }
  if (namesDevice(component)) {
    return "the name of a device";
  }
  return component.size() > longestComponent ? "a name that is too long" : "";
}

}  // namespace

std::string problemOfZipName(std::string_view name) {
  UString const text = fl::i18n::utf8_to_ustring(name);
  if (fl::i18n::ustring_to_utf8(text) != name) {
    return "a name that is not UTF-8";
  }
  std::u16string_view rest = text;
  if (rest.size() > longestName) {
    return "a name that is too long";
  }
  if (rest.ends_with(u'/')) {
    rest.remove_suffix(1);
  }
  for (auto slash = rest.find(u'/'); slash != rest.npos; slash = rest.find(u'/')) {
    auto problem = problemOfComponent(rest.substr(0, slash));
    if (!problem.empty()) {
      return problem;
    }
    rest.remove_prefix(slash + 1);
  }
  return problemOfComponent(rest);
}

}  // namespace install::cpputil
