#include "machine/registry.hpp"

#include <algorithm>
#include <array>

#include "machine/error.hpp"

namespace machine {

namespace {

constexpr std::array<std::pair<RegistryRoot, std::u16string_view>, 5> rootNames{{
    {RegistryRoot::classesRoot, u"HKEY_CLASSES_ROOT"},
    {RegistryRoot::currentUser, u"HKEY_CURRENT_USER"},
    {RegistryRoot::localMachine, u"HKEY_LOCAL_MACHINE"},
    {RegistryRoot::users, u"HKEY_USERS"},
    {RegistryRoot::currentConfig, u"HKEY_CURRENT_CONFIG"},
}};

void appendUnit(std::string& bytes, char16_t unit) {
  bytes += static_cast<char>(unit & 0xFF);
  bytes += static_cast<char>(unit >> 8);
}

// Microsoft, "Registry element size limits".
constexpr std::size_t longestKeyName = 255;
constexpr std::size_t longestValueName = 16383;
constexpr std::size_t deepestKey = 512;

UString fullName(RegistryKey const& key) {
  return UString(registryRootName(key.root)) + u'\\' + key.path;
}

}  // namespace

std::u16string_view registryRootName(RegistryRoot root) {
  auto const found = std::find_if(rootNames.begin(), rootNames.end(),
                                  [&](auto const& entry) { return entry.first == root; });
  return found == rootNames.end() ? std::u16string_view() : found->second;
}

std::optional<RegistryRoot> registryRootFromName(std::u16string_view name) {
  for (auto const& [root, rootName] : rootNames)
    if (equalIgnoringCase(rootName, name)) return root;
  return std::nullopt;
}

std::vector<UString> keyNames(RegistryKey const& key) {
  auto const require = [&](bool condition, ErrorCode code) {
    if (!condition) throw SystemError("open the registry key", fullName(key), code);
  };
  require(!key.path.starts_with(u'\\'), ErrorCode::badPathName);
  require(key.path.find(u'\0') == UString::npos, ErrorCode::invalidParameter);
  std::vector<UString> names;
  for (std::size_t at = 0; at < key.path.size();) {
    auto const end = std::min(key.path.find(u'\\', at), key.path.size());
    if (end > at) names.push_back(key.path.substr(at, end - at));
    require(end - at <= longestKeyName, ErrorCode::invalidParameter);
    at = end + 1;
  }
  require(names.size() <= deepestKey, ErrorCode::invalidParameter);
  return names;
}

void requireValueName(RegistryKey const& key, std::u16string_view name) {
  if (name.size() > longestValueName || name.find(u'\0') != name.npos)
    throw SystemError("set a registry value of", fullName(key), ErrorCode::invalidParameter);
}

void requireValueSize(RegistryKey const& key, RegistryValue const& value) {
  if (value.data.size() > largestRegistryValue)
    throw SystemError("set a registry value of", fullName(key), ErrorCode::fileTooLarge);
}

std::span<std::pair<RegistryType, std::string_view> const> registryTypeNames() {
  static constexpr std::pair<RegistryType, std::string_view> names[] = {
      {RegistryType::none, "REG_NONE"},
      {RegistryType::string, "REG_SZ"},
      {RegistryType::expandableString, "REG_EXPAND_SZ"},
      {RegistryType::binary, "REG_BINARY"},
      {RegistryType::dword, "REG_DWORD"},
      {RegistryType::multiString, "REG_MULTI_SZ"},
      {RegistryType::qword, "REG_QWORD"},
  };
  return names;
}

std::string registryTypeName(RegistryType type) {
  for (auto const& [known, name] : registryTypeNames()) {
    if (known == type) return std::string(name);
  }
  return "type " + std::to_string(static_cast<std::uint32_t>(type));
}

RegistryValue RegistryValue::ofText(std::u16string_view text, RegistryType type) {
  RegistryValue value{type, {}};
  value.data.reserve((text.size() + 2) * 2);
  for (char16_t const unit : text) appendUnit(value.data, unit);
  appendUnit(value.data, u'\0');
  // A list of strings ends with an empty one.
  if (type == RegistryType::multiString && !text.empty()) appendUnit(value.data, u'\0');
  return value;
}

RegistryValue RegistryValue::ofDword(std::uint32_t number) {
  RegistryValue value{RegistryType::dword, {}};
  for (int shift = 0; shift < 32; shift += 8)
    value.data += static_cast<char>((number >> shift) & 0xFF);
  return value;
}

UString RegistryValue::text() const {
  UString units;
  units.reserve(data.size() / 2);
  for (std::size_t i = 0; i + 1 < data.size(); i += 2)
    units += static_cast<char16_t>(static_cast<unsigned char>(data[i]) |
                                   static_cast<unsigned char>(data[i + 1]) << 8);
  while (!units.empty() && units.back() == u'\0') units.pop_back();
  return units;
}

void Registry::setText(RegistryKey const& key, std::u16string_view name, std::u16string_view text) {
  RegistryType type = RegistryType::string;
  if (!createKey(key)) {  // a new key has no value to ask for
    auto const existing = value(key, name);
    if (existing && existing->type == RegistryType::expandableString) {
      type = RegistryType::expandableString;
    }
  }
  setValue(key, name, RegistryValue::ofText(text, type));
}

}  // namespace machine
