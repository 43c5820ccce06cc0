#include "install/postinstall/RegistryUtil.hpp"

#include <cstdint>
#include <stdexcept>

#include "fl/i18n/ustring.hpp"
#include "install/postinstall/product_keys.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

using fl::i18n::to_ustring;
using fl::i18n::UString;
using machine::RegistryKey;
using machine::RegistryRoot;

namespace {

/// winreg.h makes the handles from negative 32-bit numbers, so the upper half is all ones.
HKEY predefined(std::uint32_t number) {
  auto const extended = static_cast<std::intptr_t>(static_cast<std::int32_t>(number));
  return reinterpret_cast<HKEY>(extended);
}

RegistryRoot rootOf(HKEY root) {
  if (root == classesRootKey()) {
    return RegistryRoot::classesRoot;
  }
  if (root == currentUserKey()) {
    return RegistryRoot::currentUser;
  }
  if (root == localMachineKey()) {
    return RegistryRoot::localMachine;
  }
  if (root == usersKey()) {
    return RegistryRoot::users;
  }
  if (root == currentConfigKey()) {
    return RegistryRoot::currentConfig;
  }
  throw std::invalid_argument("not a predefined registry root");
}

/// The system would take a name to its first NUL only, and so another one.
UString registryName(std::wstring const& wide) {
  if (wide.find(L'\0') != std::wstring::npos) {
    throw std::invalid_argument("a NUL in a registry name: " +
                                fl::i18n::to_string(to_ustring(wide.c_str())));
  }
  return to_ustring(wide);
}

UString withoutExtraBackslashes(UString const& path) {
  UString plain;
  plain.reserve(path.size());
  for (char16_t const unit : path) {
    if (unit != u'\\' || (!plain.empty() && plain.back() != u'\\')) {
      plain += unit;
    }
  }
  if (plain.ends_with(u'\\')) {
    plain.pop_back();
  }
  return plain;
}

std::string nameOf(RegistryKey const& key) {
  return fl::i18n::to_string(UString(machine::registryRootName(key.root)) + u"\\" + key.path);
}

RegistryKey keyOf(HKEY root, std::wstring const& keyPath) {
  return {rootOf(root), withoutExtraBackslashes(registryName(keyPath))};
}

/// A slash is a unit of a name like any other, but in the name of a key directly below a root it
/// stands where "\" was meant: nobody has such keys, and nobody could delete one again.
RegistryKey keyToChange(HKEY root, std::wstring const& keyPath) {
  RegistryKey key = keyOf(root, keyPath);
  if (key.path.find(u'\\') == UString::npos && key.path.find(u'/') != UString::npos) {
    throw std::invalid_argument("registry key " + nameOf(key) +
                                ": names are separated by \"\\\", not by \"/\"");
  }
  return key;
}

}  // namespace

HKEY classesRootKey() {
  return predefined(0x80000000);
}

HKEY currentUserKey() {
  return predefined(0x80000001);
}

HKEY localMachineKey() {
  return predefined(0x80000002);
}

HKEY usersKey() {
  return predefined(0x80000003);
}

HKEY currentConfigKey() {
  return predefined(0x80000005);
}

RegistryUtil::RegistryUtil() = default;
RegistryUtil::RegistryUtil(RegistryUtil const&) = default;
RegistryUtil::~RegistryUtil() = default;

void RegistryUtil::setRegKeyValue(HKEY const& root, std::wstring const& keyPath,
                                  std::wstring const& valueName, std::wstring const& value) const {
  machine::current().registry().setText(keyToChange(root, keyPath), registryName(valueName),
                                        to_ustring(value));
}

void RegistryUtil::deleteRegKey(HKEY const& root, std::wstring const& keyPath) const {
  RegistryKey const key = keyToChange(root, keyPath);
  auto& registry = machine::current().registry();
  requireProductKey(registry, key);
  registry.removeKey(key);
}

std::wstring RegistryUtil::getRegKeyValue(HKEY const& root, std::wstring const& keyPath,
                                          std::wstring const& valueName) const {
  auto const value =
      machine::current().registry().value(keyOf(root, keyPath), registryName(valueName));
  return value ? fl::i18n::to_wstring(value->text()) : std::wstring();
}

void RegistryUtil::requireString(HKEY const& root, std::wstring const& keyPath,
                                 std::wstring const& valueName) const {
  RegistryKey const key = keyOf(root, keyPath);
  auto const value = machine::current().registry().value(key, registryName(valueName));
  if (value && !value->isString()) {
    throw std::runtime_error("the registry value " + nameOf(key) + "\\" +
                             fl::i18n::to_string(to_ustring(valueName)) + " is no string but " +
                             machine::registryTypeName(value->type));
  }
}

RegistryUtil const& RegistryUtil::getRegistryUtil() {
  static RegistryUtil const instance;
  return instance;
}

}  // namespace install::postinstall
