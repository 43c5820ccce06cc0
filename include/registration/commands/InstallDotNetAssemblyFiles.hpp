#pragma once

#include <string>
#include <vector>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Installs .NET assemblies into the global assembly cache with the product's own GACInstaller.exe,
/// one run an assembly, when .NET Framework 4 is installed. undo does nothing: assemblies stay in
/// the cache. A run counts as successful when the shell has started the program: nobody waits for
/// it to end or asks for its exit code.
///
/// Nothing stops the assemblies after the one it concerns: one that does not exist, a run that the
/// shell refuses, a std::exception (the line of a failed run, then its text). A std::exception
/// before the first assembly is logged as "Unable to install .NET Assembly files", then its text,
/// and ends the call.
class REGISTRATION_API InstallDotNetAssemblyFiles : public utility::Command {
 public:
  InstallDotNetAssemblyFiles(utility::Options const& options, std::vector<Path> const& assemblies);
  InstallDotNetAssemblyFiles(InstallDotNetAssemblyFiles const&);
  ~InstallDotNetAssemblyFiles() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual bool existsWrapper(fl::filesystem::basic_path const& file) const;
  /// `toolbox\zembric\bin\win64\v4.0\GACInstaller.exe` below the installation root.
  virtual Path getGACInstallerPath() const;
  /// Whether "Install" is the number 1 in the registry for the framework's client or full profile.
  virtual bool isDotNetFrameworkVersionFourInstalled() const;
  virtual void log_message(UString const& message) const;
  /// Whether the shell started the program.
  virtual bool shellExecuteWrapper(fl::filesystem::basic_path const& program,
                                   std::wstring const& parameters) const;

 private:
  void installAssemblies() const;

  utility::Options options;
  std::vector<Path> assemblies;
};

}  // namespace registration::commands
