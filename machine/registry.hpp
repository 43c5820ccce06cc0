#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// The predefined roots of the registry, 64-bit view.
enum class RegistryRoot { classesRoot, currentUser, localMachine, users, currentConfig };

/// "HKEY_LOCAL_MACHINE" and so on.
REGISTRATION_API std::u16string_view registryRootName(RegistryRoot root);
REGISTRATION_API std::optional<RegistryRoot> registryRootFromName(std::u16string_view name);

/// A key: a root and the path below it, components separated by "\".
struct RegistryKey {
  RegistryRoot root = RegistryRoot::localMachine;
  UString path;

  bool operator==(RegistryKey const&) const = default;
};

/// The names that a key's path consists of; empty ones are left out. Throws SystemError for what no
/// key can have: a separator at the start (badPathName), NULs, names of more than 255 units, more
/// than 512 of them (invalidParameter).
REGISTRATION_API std::vector<UString> keyNames(RegistryKey const& key);

/// Throws SystemError (invalidParameter) for a name that no value of the key can have: more than
/// 16,383 units or a NUL.
REGISTRATION_API void requireValueName(RegistryKey const& key, std::u16string_view name);

/// Types of registry values (winnt.h). Values of other types are carried as their number.
enum class RegistryType : std::uint32_t {
  none = 0,
  string = 1,            ///< REG_SZ
  expandableString = 2,  ///< REG_EXPAND_SZ
  binary = 3,
  dword = 4,
  multiString = 7,
  qword = 11,
};

/// The types above with their names in winnt.h, "REG_SZ" and so on.
REGISTRATION_API std::span<std::pair<RegistryType, std::string_view> const> registryTypeNames();
/// The name, "type 10" for a type without one here.
REGISTRATION_API std::string registryTypeName(RegistryType type);

/// A value exactly as the registry holds it: type and raw bytes, strings unexpanded with their
/// terminator, UTF-16 little endian.
struct RegistryValue {
  RegistryType type = RegistryType::none;
  std::string data;

  bool operator==(RegistryValue const&) const = default;

  /// REG_SZ or REG_EXPAND_SZ.
  bool isString() const {
    return type == RegistryType::string || type == RegistryType::expandableString;
  }
  /// A string value of the given type, terminated as the registry expects it.
  REGISTRATION_API static RegistryValue ofText(std::u16string_view text,
                                               RegistryType type = RegistryType::string);
  REGISTRATION_API static RegistryValue ofDword(std::uint32_t number);
  /// The raw bytes read as UTF-16 units without the NULs at the end, whatever the type: a DWORD 1
  /// reads as the one character U+0001.
  REGISTRATION_API UString text() const;
};

/// The most that one value has, in bytes, against one that fills the memory. The system advises to
/// keep what has 2,048 and more elsewhere.
inline constexpr std::size_t largestRegistryValue = std::size_t{16} << 20;

/// Throws SystemError (fileTooLarge) for a larger value.
REGISTRATION_API void requireValueSize(RegistryKey const& key, RegistryValue const& value);

/// The registry. Key paths and value names are compared without regard to case; an empty value name
/// is the key's default value. Operations throw SystemError for failures not given an outcome here.
class REGISTRATION_API Registry {
 public:
  virtual ~Registry() = default;

  /// Makes the key and those above it; true when it did not exist before.
  virtual bool createKey(RegistryKey const& key) = 0;
  virtual bool keyExists(RegistryKey const& key) = 0;
  /// nullopt when the key or the value is missing. One that is larger than largestRegistryValue,
  /// whoever wrote it, is an error (fileTooLarge), and so is writing one.
  virtual std::optional<RegistryValue> value(RegistryKey const& key, std::u16string_view name) = 0;
  /// Makes the key when it is missing.
  virtual void setValue(RegistryKey const& key, std::u16string_view name,
                        RegistryValue const& value) = 0;
  /// Sets a value to a string and makes the key when it is missing. An existing expandable string
  /// stays one; every other type becomes REG_SZ. It is createKey, value and
  /// setValue, which is what a decorator that leaves it alone sees; a provider that needs fewer
  /// steps overrides it.
  virtual void setText(RegistryKey const& key, std::u16string_view name, std::u16string_view text);
  /// False when there was no such value.
  virtual bool removeValue(RegistryKey const& key, std::u16string_view name) = 0;
  /// Removes the key with everything below it; false when there was no such key.
  virtual bool removeKey(RegistryKey const& key) = 0;
  /// Removes the key unless it has values or subkeys; false when it has and stays, true when it is
  /// gone, also because there was no such key. Subkeys are the system's own condition. Values are
  /// not: between the last look at them and the removal, nothing else in between, one that somebody
  /// else sets goes with the key.
  virtual bool removeEmptyKey(RegistryKey const& key) = 0;
  /// Names of the direct subkeys; empty when the key is missing.
  virtual std::vector<UString> subkeys(RegistryKey const& key) = 0;
  /// Names and values of the key; empty when the key is missing. A value that is too large
  /// is an error here too.
  virtual std::vector<std::pair<UString, RegistryValue>> values(RegistryKey const& key) = 0;
};

}  // namespace machine
