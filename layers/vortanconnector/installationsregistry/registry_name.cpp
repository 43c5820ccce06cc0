#include "vortanconnector/installationsregistry/registry_name.hpp"

#include <algorithm>

#include "machine/unicode.hpp"

namespace vortanconnector::installationsregistry {

namespace {

constexpr std::size_t longest = 100;

bool isPlain(char16_t unit) {
  constexpr std::u16string_view reserved = u"<>:\"/\\|?*";
  return unit >= 0x20 && unit != 0x7F && reserved.find(unit) == reserved.npos;
}

bool isBlankOrDot(char16_t unit) {
  return unit == u' ' || unit == u'.';
}

/// Microsoft, "Naming Files, Paths, and Namespaces": with an extension they are devices too.
bool isDevice(std::u16string_view name) {
  std::u16string_view stem = name.substr(0, name.find(u'.'));
  while (!stem.empty() && stem.back() == u' ') {
    stem.remove_suffix(1);
  }
  for (auto const* const device : {u"con", u"prn", u"aux", u"nul", u"conin$", u"conout$"}) {
    if (machine::equalIgnoringCase(stem, device)) {
      return true;
    }
  }
  constexpr std::u16string_view digits = u"0123456789\u00b9\u00b2\u00b3";
  return stem.size() == 4 && digits.find(stem[3]) != digits.npos &&
         (machine::equalIgnoringCase(stem.substr(0, 3), u"com") ||
          machine::equalIgnoringCase(stem.substr(0, 3), u"lpt"));
}

}  // namespace

bool isRegistryName(std::u16string_view name) {
  return !name.empty() && name.size() <= longest &&
         std::all_of(name.begin(), name.end(), isPlain) && !isBlankOrDot(name.front()) &&
         !isBlankOrDot(name.back()) && !isDevice(name) &&
         machine::toUtf16(machine::toUtf8(name)) == name;
}

}  // namespace vortanconnector::installationsregistry
