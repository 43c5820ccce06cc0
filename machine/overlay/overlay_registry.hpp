#pragma once

#include <map>

#include "machine/registry.hpp"

namespace machine::overlay {

/// A registry that is read from another machine until it is changed, and changed in memory. Only
/// keys that changes led to are in memory; reading adds none.
///
/// HKEY_CLASSES_ROOT and HKEY_LOCAL_MACHINE\SOFTWARE\Classes share their changes. What is untouched
/// is read under the root that was asked for, so that the inner machine's own way of merging the
/// user's classes shows; changes to HKEY_CURRENT_USER\Software\Classes show there only. Other names
/// that a system gives one key (HKEY_CURRENT_USER in HKEY_USERS) are two keys here. Rights are not
/// looked at.
class OverlayRegistry final : public Registry {
 public:
  /// `inner` must outlive this object.
  explicit OverlayRegistry(Registry& inner) : inner_(inner) {}

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

  /// How many keys and values memory knows, and how many bytes of values it holds.
  std::size_t names() const;
  std::uint64_t bytes() const;

 private:
  struct Value {
    UString name;
    bool isInnerName = false;            ///< the name stays spelled as in the inner key
    std::optional<RegistryValue> value;  ///< nullopt: removed
  };
  struct Key {
    UString name;
    bool removed = false;
    bool hidesInner = false;  ///< was removed, and perhaps made anew: nothing inner shows in it
    std::map<UString, Key> subkeys;   // by folded name
    std::map<UString, Value> values;  // by folded name
  };
  /// Where a key is.
  struct Place {
    Key* key = nullptr;       ///< what memory knows of it
    bool showsInner = false;  ///< the inner key shows, but for what memory knows
  };

  Place find(RegistryKey const& key);
  Key& make(RegistryKey const& key);
  static std::size_t namesIn(Key const& key);
  static std::uint64_t bytesIn(Key const& key);

  Registry& inner_;
  std::map<RegistryRoot, Key> roots_;
};

}  // namespace machine::overlay
