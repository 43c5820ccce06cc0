#include "machine/simulated/simulated_registry.hpp"

#include <algorithm>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/sha256.hpp"
#include "machine/simulated/registry_value_json.hpp"

namespace machine::simulated {

namespace {

UString fullName(RegistryKey const& key) {
  return UString(registryRootName(key.root)) + u'\\' + key.path;
}

/// keyNames of what the JSON file can carry.
std::vector<UString> namesOf(RegistryKey const& key) {
  if (!isWellFormed(key.path))
    throw SystemError("open the registry key", fullName(key), ErrorCode::invalidParameter);
  return keyNames(key);
}

RegistryKey withoutAlias(RegistryKey const& key) {
  if (key.root != RegistryRoot::classesRoot) return key;
  return {RegistryRoot::localMachine, u"SOFTWARE\\Classes\\" + key.path};
}

/// In the form of a GUID.
UString identifierOf(std::string_view machine) {
  Sha256 hash;
  hash.add(machine);
  std::string digits = hash.finish().substr(0, 32);
  for (std::size_t const at : {20u, 16u, 12u, 8u}) digits.insert(at, 1, '-');
  return toUtf16(digits);
}

RegistryKey keyFromName(std::string const& name, JsonValue const& place) {
  auto const full = toUtf16(name);
  auto const end = std::min(full.find(u'\\'), full.size());
  auto const root = registryRootFromName(full.substr(0, end));
  if (!root) place.refuse("must begin with the name of a root such as HKEY_LOCAL_MACHINE");
  return {*root, end < full.size() ? full.substr(end + 1) : UString()};
}

}  // namespace

SimulatedRegistry::SimulatedRegistry(std::string_view machine) {
  for (auto const root : {RegistryRoot::currentUser, RegistryRoot::localMachine,
                          RegistryRoot::users, RegistryRoot::currentConfig})
    roots_[root].name = registryRootName(root);
  constexpr auto environment = u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
  setValue(
      {RegistryRoot::localMachine, environment}, u"Path",
      RegistryValue::ofText(u"%SystemRoot%\\system32;%SystemRoot%;%SystemRoot%\\System32\\Wbem",
                            RegistryType::expandableString));
  setValue({RegistryRoot::localMachine, u"SOFTWARE\\Microsoft\\Cryptography"}, u"MachineGuid",
           RegistryValue::ofText(identifierOf(machine)));
  createKey({RegistryRoot::classesRoot, u""});
  createKey({RegistryRoot::currentUser, u"Software"});
}

SimulatedRegistry::SimulatedRegistry(JsonValue const& document) {
  for (auto const root : {RegistryRoot::currentUser, RegistryRoot::localMachine,
                          RegistryRoot::users, RegistryRoot::currentConfig})
    roots_[root].name = registryRootName(root);
  for (auto const& [name, entries] : document.member("keys").members()) {
    auto const key = keyFromName(name, entries);
    try {
      createKey(key);
      for (auto const& [valueName, entry] : entries.members()) {
        if (value(key, toUtf16(valueName))) entry.refuse("is there twice, in different case");
        setValue(key, toUtf16(valueName), registryValue(entry));
      }
    } catch (SystemError const& error) {
      entries.refuse(error.what());
    }
  }
}

SimulatedRegistry::Key* SimulatedRegistry::find(RegistryKey const& key) {
  auto const actual = withoutAlias(key);
  Key* at = &roots_.at(actual.root);
  for (auto const& name : namesOf(actual)) {
    auto const found = at->subkeys.find(foldCase(name));
    if (found == at->subkeys.end()) return nullptr;
    at = &found->second;
  }
  return at;
}

SimulatedRegistry::Key& SimulatedRegistry::make(RegistryKey const& key, bool* isNew) {
  auto const actual = withoutAlias(key);
  Key* at = &roots_.at(actual.root);
  for (auto const& name : namesOf(actual)) {
    auto const [found, inserted] = at->subkeys.try_emplace(foldCase(name));
    at = &found->second;
    if (inserted) at->name = name;
    if (isNew != nullptr) *isNew = inserted;
  }
  return *at;
}

bool SimulatedRegistry::createKey(RegistryKey const& key) {
  bool isNew = false;
  make(key, &isNew);
  return isNew;
}

bool SimulatedRegistry::keyExists(RegistryKey const& key) {
  return find(key) != nullptr;
}

std::optional<RegistryValue> SimulatedRegistry::value(RegistryKey const& key,
                                                      std::u16string_view name) {
  auto const* const found = find(key);
  if (found == nullptr) return std::nullopt;
  auto const entry = found->values.find(foldCase(name));
  if (entry == found->values.end()) return std::nullopt;
  return entry->second.second;
}

void SimulatedRegistry::setValue(RegistryKey const& key, std::u16string_view name,
                                 RegistryValue const& value) {
  requireValueName(key, name);
  requireValueSize(key, value);
  if (!isWellFormed(name))
    throw SystemError("set a registry value of", fullName(key), ErrorCode::invalidParameter);
  auto& [entryName, entryValue] = make(key).values[foldCase(name)];
  if (entryName.empty()) entryName = name;
  entryValue = value;
}

bool SimulatedRegistry::removeValue(RegistryKey const& key, std::u16string_view name) {
  auto* const found = find(key);
  return found != nullptr && found->values.erase(foldCase(name)) > 0;
}

bool SimulatedRegistry::removeKey(RegistryKey const& key) {
  auto names = namesOf(key);
  if (names.empty())
    throw SystemError("remove the registry key", fullName(key), ErrorCode::accessDenied);
  auto const name = foldCase(names.back());
  RegistryKey above{key.root, {}};
  names.pop_back();
  for (auto const& part : names) above.path += part + u'\\';
  auto* const parent = find(above);
  return parent != nullptr && parent->subkeys.erase(name) > 0;
}

bool SimulatedRegistry::removeEmptyKey(RegistryKey const& key) {
  auto const* const found = find(key);
  if (found != nullptr && (!found->values.empty() || !found->subkeys.empty())) return false;
  removeKey(key);
  return true;
}

std::vector<UString> SimulatedRegistry::subkeys(RegistryKey const& key) {
  std::vector<UString> names;
  if (auto const* const found = find(key))
    for (auto const& [folded, subkey] : found->subkeys) names.push_back(subkey.name);
  return names;
}

std::vector<std::pair<UString, RegistryValue>> SimulatedRegistry::values(RegistryKey const& key) {
  std::vector<std::pair<UString, RegistryValue>> result;
  if (auto const* const found = find(key))
    for (auto const& [folded, entry] : found->values) result.push_back(entry);
  return result;
}

void SimulatedRegistry::writeKeys(Key const& key, UString const& path, nlohmann::json& keys) {
  if (!key.values.empty() || key.subkeys.empty()) {
    auto& entries = keys[toUtf8(path)] = nlohmann::json::object();
    for (auto const& [folded, entry] : key.values)
      entries[toUtf8(entry.first)] = simulated::toJson(entry.second);
  }
  for (auto const& [folded, subkey] : key.subkeys)
    writeKeys(subkey, path + u'\\' + subkey.name, keys);
}

nlohmann::json SimulatedRegistry::toJson() const {
  auto keys = nlohmann::json::object();
  for (auto const& [root, key] : roots_) writeKeys(key, key.name, keys);
  return {{"keys", std::move(keys)}};
}

}  // namespace machine::simulated
