#include "machine/overlay/overlay_registry.hpp"

#include <algorithm>

#include "machine/error.hpp"

namespace machine::overlay {

namespace {

/// One name for both of a key's.
RegistryKey withoutAlias(RegistryKey const& key) {
  if (key.root != RegistryRoot::classesRoot) return key;
  return {RegistryRoot::localMachine, u"SOFTWARE\\Classes\\" + key.path};
}

/// The names of a path that memory can know; the inner registry judges the others.
std::vector<UString> namesToLookFor(UString const& path) {
  std::vector<UString> names;
  for (std::size_t at = 0; at < path.size();) {
    auto const end = std::min(path.find(u'\\', at), path.size());
    if (end > at) names.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

/// By name, as registries list them.
template <typename Entry>
std::vector<Entry> inOrder(std::map<UString, Entry> entries) {
  std::vector<Entry> result;
  result.reserve(entries.size());
  for (auto& [folded, entry] : entries) result.push_back(std::move(entry));
  return result;
}

}  // namespace

OverlayRegistry::Place OverlayRegistry::find(RegistryKey const& key) {
  auto const actual = withoutAlias(key);
  if (key.path.starts_with(u'\\')) return {nullptr, true};
  auto const root = roots_.find(actual.root);
  if (root == roots_.end()) return {nullptr, true};
  auto* at = &root->second;
  bool showsInner = true;
  for (auto const& name : namesToLookFor(actual.path)) {
    auto const found = at->subkeys.find(foldCase(name));
    if (found == at->subkeys.end()) return {nullptr, showsInner};
    at = &found->second;
    showsInner = showsInner && !at->hidesInner;
  }
  return {at, showsInner};
}

/// The key in memory, made there and above where it is missing or removed.
OverlayRegistry::Key& OverlayRegistry::make(RegistryKey const& key) {
  keyNames(key);
  auto const actual = withoutAlias(key);
  auto* at = &roots_[actual.root];
  for (auto const& name : keyNames(actual)) {
    auto const [found, isNew] = at->subkeys.try_emplace(foldCase(name));
    at = &found->second;
    if (isNew || at->removed) at->name = name;
    at->removed = false;
  }
  return *at;
}

bool OverlayRegistry::createKey(RegistryKey const& key) {
  if (keyExists(key)) return false;
  make(key);
  return true;
}

bool OverlayRegistry::keyExists(RegistryKey const& key) {
  auto const place = find(key);
  if (place.key) return !place.key->removed;
  return place.showsInner && inner_.keyExists(key);
}

std::optional<RegistryValue> OverlayRegistry::value(RegistryKey const& key,
                                                    std::u16string_view name) {
  auto const place = find(key);
  if (place.key) {
    auto const found = place.key->values.find(foldCase(name));
    if (found != place.key->values.end()) return found->second.value;
  }
  return place.showsInner ? inner_.value(key, name) : std::nullopt;
}

void OverlayRegistry::setValue(RegistryKey const& key, std::u16string_view name,
                               RegistryValue const& value) {
  requireValueName(key, name);
  requireValueSize(key, value);
  auto const [entry, isNew] = make(key).values.try_emplace(foldCase(name));
  auto& written = entry->second;
  if (isNew || !written.value) {
    written.name = name;
    written.isInnerName = isNew;
  }
  written.value = value;
}

bool OverlayRegistry::removeValue(RegistryKey const& key, std::u16string_view name) {
  if (!value(key, name)) return false;
  auto& values = make(key).values;
  bool const isInner = find(key).showsInner && inner_.value(key, name);
  if (isInner)
    values.insert_or_assign(foldCase(name), Value{UString(name), false, std::nullopt});
  else
    values.erase(foldCase(name));
  return true;
}

bool OverlayRegistry::removeKey(RegistryKey const& key) {
  auto names = keyNames(key);
  if (names.empty())
    throw SystemError("remove the registry key", registryRootName(key.root),
                      ErrorCode::accessDenied);
  if (!keyExists(key)) return false;
  auto const name = foldCase(names.back());
  RegistryKey above{key.root, {}};
  names.pop_back();
  for (auto const& part : names) above.path += part + u'\\';
  auto& siblings = make(above).subkeys;
  bool const isInner = find(above).showsInner && inner_.keyExists(key);
  siblings.erase(name);
  if (isInner) siblings[name].removed = siblings[name].hidesInner = true;
  return true;
}

bool OverlayRegistry::removeEmptyKey(RegistryKey const& key) {
  if (!subkeys(key).empty() || !values(key).empty()) return false;
  removeKey(key);
  return true;
}

std::vector<UString> OverlayRegistry::subkeys(RegistryKey const& key) {
  auto const place = find(key);
  auto inner = place.showsInner ? inner_.subkeys(key) : std::vector<UString>();
  if (!place.key) return inner;
  std::map<UString, UString> names;
  for (auto& name : inner) names.emplace(foldCase(name), std::move(name));
  for (auto const& [folded, subkey] : place.key->subkeys) {
    if (subkey.removed)
      names.erase(folded);
    else if (subkey.hidesInner)
      names.insert_or_assign(folded, subkey.name);
    else
      names.emplace(folded, subkey.name);
  }
  return inOrder(std::move(names));
}

std::vector<std::pair<UString, RegistryValue>> OverlayRegistry::values(RegistryKey const& key) {
  using Entry = std::pair<UString, RegistryValue>;
  auto const place = find(key);
  auto inner = place.showsInner ? inner_.values(key) : std::vector<Entry>();
  if (!place.key) return inner;
  std::map<UString, Entry> entries;
  for (auto& entry : inner) entries.emplace(foldCase(entry.first), std::move(entry));
  for (auto const& [folded, value] : place.key->values) {
    auto const there = entries.find(folded);
    bool const keepsName = there != entries.end() && value.isInnerName;
    if (!value.value)
      entries.erase(folded);
    else
      entries.insert_or_assign(folded,
                               Entry{keepsName ? there->second.first : value.name, *value.value});
  }
  return inOrder(std::move(entries));
}

std::size_t OverlayRegistry::namesIn(Key const& key) {
  std::size_t count = 1 + key.values.size();
  for (auto const& [folded, subkey] : key.subkeys) count += namesIn(subkey);
  return count;
}

std::uint64_t OverlayRegistry::bytesIn(Key const& key) {
  std::uint64_t count = 0;
  for (auto const& [folded, value] : key.values)
    count += value.value ? value.value->data.size() : 0;
  for (auto const& [folded, subkey] : key.subkeys) count += bytesIn(subkey);
  return count;
}

std::size_t OverlayRegistry::names() const {
  std::size_t count = 0;
  for (auto const& [root, key] : roots_) count += namesIn(key);
  return count;
}

std::uint64_t OverlayRegistry::bytes() const {
  std::uint64_t count = 0;
  for (auto const& [root, key] : roots_) count += bytesIn(key);
  return count;
}

}  // namespace machine::overlay
