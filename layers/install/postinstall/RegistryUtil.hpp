#pragma once

#include <string>

#include "machine/api.hpp"

struct HKEY__;
/// A registry root handle, as the Windows headers declare it.
using HKEY = HKEY__*;

namespace install::postinstall {

/// The predefined roots, the values of winreg.h.
REGISTRATION_API HKEY classesRootKey();
REGISTRATION_API HKEY currentUserKey();
REGISTRATION_API HKEY localMachineKey();
REGISTRATION_API HKEY usersKey();
REGISTRATION_API HKEY currentConfigKey();

/// The installer's registry helper, on the current machine's registry (64-bit view). A root that is
/// none of the predefined handles, or a NUL within a name, is a std::invalid_argument; a call the
/// system refuses is a machine::SystemError, a std::runtime_error that names the key and the
/// reason. Backslashes too many in a key path, at its ends or doubled, do not count.
class REGISTRATION_API RegistryUtil {
 public:
  RegistryUtil();
  RegistryUtil(RegistryUtil const&);
  virtual ~RegistryUtil();

  /// Makes the key when it is missing and sets the value to the string. An existing string value
  /// keeps its type (REG_SZ or REG_EXPAND_SZ); any other is replaced by a REG_SZ: nothing of it
  /// goes into the new one. Refuses with std::invalid_argument a slash in the name of a key
  /// directly below the root, "SOFTWARE/Maker".
  virtual void setRegKeyValue(HKEY const& root, std::wstring const& keyPath,
                              std::wstring const& valueName, std::wstring const& value) const;

  /// Deletes the key with everything in it; a key that does not exist is no error. Refuses with
  /// std::invalid_argument what cannot be a product's own key (product_keys.hpp): an empty path, a
  /// key that is not below a place where products add keys, such as SOFTWARE itself or anything in
  /// SAM, Microsoft's own, and a class or service that holds anything but strings.
  virtual void deleteRegKey(HKEY const& root, std::wstring const& keyPath) const;

  /// The value's data read as text, unexpanded, without NULs at its end; a DWORD 1 reads as the one
  /// character of code 1. Empty when the key or the value does not exist.
  virtual std::wstring getRegKeyValue(HKEY const& root, std::wstring const& keyPath,
                                      std::wstring const& valueName) const;

  /// Throws std::runtime_error, with the value's name and type, when the value exists and is
  /// neither REG_SZ nor REG_EXPAND_SZ. Who writes a text made from the old one asks this before.
  void requireString(HKEY const& root, std::wstring const& keyPath,
                     std::wstring const& valueName) const;

  /// The process-wide instance.
  static RegistryUtil const& getRegistryUtil();
};

}  // namespace install::postinstall
