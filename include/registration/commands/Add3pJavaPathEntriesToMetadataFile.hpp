#pragma once

#include <memory>
#include <string>
#include <vector>

#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Writes the Java class path entries of the installed third-party components, as their instruction
/// sets give them, to the metadata file `javaClassPath` in the metadata root: those that exist. In
/// an entry, `$IS_ROOT_DIR` stands for the component's root folder and `$IS_FILE_SEP` for a
/// backslash.
///
/// undo does the same as execute. What others listed in the file is lost: the file is rebuilt from
/// the sets that are installed then. A std::exception is logged and ends the call.
class REGISTRATION_API Add3pJavaPathEntriesToMetadataFile : public utility::Command {
 public:
  explicit Add3pJavaPathEntriesToMetadataFile(utility::Options const& options);
  Add3pJavaPathEntriesToMetadataFile(Add3pJavaPathEntriesToMetadataFile const&);
  ~Add3pJavaPathEntriesToMetadataFile() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void add3pJavaPathEntriesToMetadataFile() const;
  virtual void log_message(UString const& message) const;
  /// Rewrites `javaClassPath`: header and the entries that exist. Does and logs nothing without
  /// entries.
  virtual void writePathEntriesToFile(UString const& root,
                                      std::vector<UString> const& entries) const;
  /// Placeholders expanded; the entries before a failure when there is one.
  virtual std::vector<UString> getJavaClassPathsFromInstrSetMap(UString const& root) const;
  /// A derived class may hand in one of its own.
  virtual std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
  getInstrSetPostInstallUtilsInstance() const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
