#pragma once

#include <map>

#include "machine/registry.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// A registry in memory. HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\SOFTWARE\Classes; Windows also
/// merges the user's own classes into it. Names that are no well-formed UTF-16 are refused
/// (invalidParameter), and so is removing a whole root (accessDenied).
class SimulatedRegistry final : public Registry {
 public:
  /// What a new machine holds; `machine` tells it from others, and gives it its MachineGuid.
  explicit SimulatedRegistry(std::string_view machine);
  /// What toJson wrote. Throws std::runtime_error.
  explicit SimulatedRegistry(JsonValue const& document);

  bool createKey(RegistryKey const& key) override;
  bool keyExists(RegistryKey const& key) override;
  std::optional<RegistryValue> value(RegistryKey const& key, std::u16string_view name) override;
  void setValue(RegistryKey const& key, std::u16string_view name,
                RegistryValue const& value) override;
  bool removeValue(RegistryKey const& key, std::u16string_view name) override;
  bool removeKey(RegistryKey const& key) override;
  bool removeEmptyKey(RegistryKey const& key) override;
  std::vector<UString> subkeys(RegistryKey const& key) override;
  std::vector<std::pair<UString, RegistryValue>> values(RegistryKey const& key) override;

  /// {"keys": {"HKEY_LOCAL_MACHINE\\SOFTWARE": {"name": value}}}: every key that has values or no
  /// subkeys; the others follow from these.
  nlohmann::json toJson() const;

 private:
  struct Key {
    UString name;
    std::map<UString, Key> subkeys;                               // by folded name
    std::map<UString, std::pair<UString, RegistryValue>> values;  // by folded name
  };

  Key* find(RegistryKey const& key);
  Key& make(RegistryKey const& key, bool* isNew = nullptr);
  static void writeKeys(Key const& key, UString const& path, nlohmann::json& keys);

  std::map<RegistryRoot, Key> roots_;
};

}  // namespace machine::simulated
