#pragma once

#include <list>

#include "install/postinstall/RegistryUtil.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

using install::postinstall::RegistryUtil;

/// One string value to store in the registry.
struct registryKey {
  HKEY root;          ///< a predefined root
  UString keyPath;    ///< below the root, components separated by "\"
  UString valueName;  ///< empty for the key's default value
  UString value;
};

/// Writes string values into the registry; undo deletes the whole keys that hold them. Messages
/// name HKEY_LOCAL_MACHINE whatever the record's root is.
///
/// Nothing is caught: an exception of the registry helper leaves the call, with the records before
/// it done and those after it untouched.
class REGISTRATION_API SetRegistryKeys : public utility::Command {
 public:
  /// `registryUtil` is kept by reference and must outlive the command. Throws std::runtime_error
  /// when the list is empty.
  SetRegistryKeys(utility::Options const& options, std::list<registryKey> const& registryKeys,
                  RegistryUtil const& registryUtil);
  SetRegistryKeys(SetRegistryKeys const&);
  SetRegistryKeys(SetRegistryKeys&&);
  ~SetRegistryKeys() override;

  void execute() const override;
  void undo() const override;

 private:
  utility::Options options;
  std::list<registryKey> registryKeys;
  RegistryUtil const& registryUtil;
};

}  // namespace registration::commands
