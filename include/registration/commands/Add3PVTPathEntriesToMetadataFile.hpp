#pragma once

#include <memory>
#include <string>
#include <vector>

#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Adds the search-path folders of the installed third-party components, as their instruction sets
/// give them, to the metadata file `ssiSearchFolders` in the metadata root: those that exist,
/// relative to the metadata root. In a folder, `$IS_ROOT_DIR` stands for the component's root
/// folder and
/// `$IS_FILE_SEP` for a backslash.
///
/// undo does the same as execute. Each call adds the folders again: they are meant to follow a
/// rebuilt file. A std::exception is logged and ends the call.
class REGISTRATION_API Add3PVTPathEntriesToMetadataFile : public utility::Command {
 public:
  explicit Add3PVTPathEntriesToMetadataFile(utility::Options const& options);
  Add3PVTPathEntriesToMetadataFile(Add3PVTPathEntriesToMetadataFile const&);
  ~Add3PVTPathEntriesToMetadataFile() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void add3PVTPathEntriesToMetadataFile() const;
  virtual void log_message(UString const& message) const;
  /// Appends the entries that exist to `ssiSearchFolders`. Does and logs nothing without entries.
  virtual void write3pVTPathEntriesToFile(UString const& root,
                                          std::vector<UString> const& entries) const;
  /// Placeholders expanded; the entries before a failure when there is one.
  virtual std::vector<UString> getAll3pPathEntriesFromInstrSetMap(UString const& root) const;
  /// A derived class may hand in one of its own.
  virtual std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
  getInstrSetPostInstallUtilsInstance() const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
