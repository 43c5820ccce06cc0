#include "install/postinstall/product_keys.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace install::postinstall {

using machine::equalIgnoringCase;
using machine::RegistryKey;
using machine::RegistryRoot;
using machine::UString;

namespace {

using Names = std::vector<std::u16string_view>;

enum class Neighbours { products, windows };

/// Where products add keys of their own, and whom they have beside them there.
struct Place {
  std::u16string_view path;
  Neighbours neighbours;
};

constexpr Place places[] = {
    {u"SOFTWARE", Neighbours::products},
    {u"SOFTWARE\\Classes", Neighbours::windows},
    {u"SOFTWARE\\Clients", Neighbours::products},
    {u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths", Neighbours::products},
    {u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall", Neighbours::products},
    {u"SOFTWARE\\Policies", Neighbours::products},
    {u"SOFTWARE\\RegisteredApplications", Neighbours::products},
    {u"SYSTEM\\CurrentControlSet\\Services", Neighbours::windows},
};

Names split(std::u16string_view path) {
  Names names;
  while (!path.empty()) {
    std::size_t const end = std::min(path.find(u'\\'), path.size());
    names.push_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return names;
}

bool startsWith(Names const& path, Names const& start) {
  return path.size() >= start.size() &&
         std::equal(start.begin(), start.end(), path.begin(), equalIgnoringCase);
}

bool endsWith(std::u16string_view name, std::u16string_view end) {
  return name.size() > end.size() && equalIgnoringCase(name.substr(name.size() - end.size()), end);
}

/// The names from the root of the machine's or of a user's registry, where the same key has others
/// too. Of the names below HKEY_USERS the first is the user's, with "_Classes" at its end for that
/// user's Software\Classes.
Names namesOf(RegistryKey const& key) {
  Names names = split(key.path);
  bool isOfClasses = key.root == RegistryRoot::classesRoot;
  if (key.root == RegistryRoot::users && !names.empty()) {
    isOfClasses = endsWith(names.front(), u"_Classes");
    names.erase(names.begin());
  }
  if (isOfClasses) {
    names.insert(names.begin(), {u"SOFTWARE", u"Classes"});
  }
  if (startsWith(names, {u"SOFTWARE"})) {
    std::erase_if(names, [](auto name) { return equalIgnoringCase(name, u"WOW6432Node"); });
  }
  constexpr std::u16string_view controlSet = u"ControlSet";  // 001 and so on
  if (startsWith(names, {u"SYSTEM"}) && names.size() > 1 &&
      equalIgnoringCase(names[1].substr(0, controlSet.size()), controlSet)) {
    names[1] = u"CurrentControlSet";
  }
  return names;
}

std::string fullName(RegistryKey const& key) {
  return machine::toUtf8(UString(registryRootName(key.root)) + u"\\" + key.path);
}

[[noreturn]] void refuse(RegistryKey const& key, std::string const& reason) {
  throw std::invalid_argument("refused to delete the registry key " + fullName(key) + ": " +
                              reason);
}

/// The place that the key lies in; of two the deeper.
Place const& placeOf(RegistryKey const& key) {
  Names const names = namesOf(key);
  Place const* found = nullptr;
  for (Place const& place : places) {
    Names const above = split(place.path);
    if (startsWith(above, names)) {
      refuse(key, "keys of others lie in it");
    }
    if (startsWith(names, above)) {
      bool const isMicrosofts = equalIgnoringCase(names[above.size()], u"Microsoft");
      found = isMicrosofts ? nullptr : &place;
    }
  }
  if (found == nullptr) {
    refuse(key, "it lies in no place where products add keys of their own");
  }
  return *found;
}

void requireStrings(machine::Registry& registry, RegistryKey const& key,
                    RegistryKey const& within) {
  for (auto const& [name, value] : registry.values(within)) {
    if (!value.isString()) {
      refuse(key, "not a product's, for " + fullName(within) + " holds \"" + machine::toUtf8(name) +
                      "\" of the type " + registryTypeName(value.type));
    }
  }
  for (UString const& name : registry.subkeys(within)) {
    requireStrings(registry, key, {within.root, within.path + u"\\" + name});
  }
}

}  // namespace

void requireProductKey(machine::Registry& registry, RegistryKey const& key) {
  if (placeOf(key).neighbours == Neighbours::windows) {
    requireStrings(registry, key, key);
  }
}

}  // namespace install::postinstall
