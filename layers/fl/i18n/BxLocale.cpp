#include "fl/i18n/BxLocale.hpp"

#include <algorithm>
#include <utility>

#include "machine/machine.hpp"

namespace fl::i18n {

namespace {

/// The first text of a registry value of the user; empty when there is none.
UString setting(char16_t const* key, char16_t const* name) {
  using machine::RegistryType;
  auto const value =
      machine::current().registry().value({machine::RegistryRoot::currentUser, key}, name);
  if (!value || (value->type != RegistryType::string && value->type != RegistryType::multiString)) {
    return {};
  }
  UString const text = value->text();
  return text.substr(0, text.find(u'\0'));
}

}  // namespace

BxLocale::BxLocale(UString name) : name_(std::move(name)) {}

UString BxLocale::language() const {
  UString language = name_.substr(0, name_.find_first_of(u"-_"));
  std::transform(language.begin(), language.end(), language.begin(), [](char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  });
  return language;
}

BxLocale BxLocale::global() {
  try {
    if (auto chosen = setting(u"Control Panel\\Desktop", u"PreferredUILanguages");
        !chosen.empty()) {
      return BxLocale(chosen);
    }
    if (auto formats = setting(u"Control Panel\\International", u"LocaleName"); !formats.empty()) {
      return BxLocale(formats);
    }
  } catch (machine::SystemError const&) {
    // A message in English is better than none.
  }
  return BxLocale(u"en-US");
}

}  // namespace fl::i18n
