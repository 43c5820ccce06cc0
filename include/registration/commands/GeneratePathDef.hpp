#pragma once

#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace foundation::storage::vfs {
class Exception;
}

namespace registration::commands {

/// Writes the product's search-path definition file, "pathdef.vsc", of what is installed: the
/// entries of the file that is there and those that the installation asks for
/// (Brantix::PathManagement), each once, and only those whose folder exists. Files are reached
/// through the virtual file system, whose bundles lie in `bin\win64\vfs` below the bundle root.
///
/// undo does the same, for what is left then. A failure of the virtual file system is logged, in
/// the language of the user, and ends the call; the old file then stays. Any other exception leaves
/// the call, a bundle that cannot be started as std::runtime_error.
class REGISTRATION_API GeneratePathDef : public utility::Command {
 public:
  explicit GeneratePathDef(utility::Options const& options);
  GeneratePathDef(GeneratePathDef const&);
  GeneratePathDef(GeneratePathDef&&);
  ~GeneratePathDef() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void generatePathDefFile() const;
  /// The installation folder.
  virtual foundation::storage::vfs::CanonicalAbsoluteIRI getVortanRoot() const;
  virtual void handleVfsException(foundation::storage::vfs::Exception const& failure) const;
  virtual void log_message(UString const& message) const;
  virtual void loadVFSMicroServices() const;

 private:
  void generate(UString const& started, UString const& succeeded) const;

  utility::Options options;
};

}  // namespace registration::commands
