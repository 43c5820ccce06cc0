#pragma once

#include <set>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Collects the search-path folders that the installed parts declare in PHL files, anywhere below
/// the metadata root, and writes those that exist to the metadata file `ssiSearchFolders` there.
///
/// A PHL file (extension exactly `phl`) is UTF-8 text, one folder relative to the metadata root a
/// line; lines are trimmed, empty ones and those that begin with % skipped.
///
/// undo does the same as execute: the file is rebuilt from the files that are installed then.
/// A std::exception is logged and ends the call.
class REGISTRATION_API AddVTPathEntriesToMetadataFile : public utility::Command {
 public:
  explicit AddVTPathEntriesToMetadataFile(utility::Options const& options);
  AddVTPathEntriesToMetadataFile(AddVTPathEntriesToMetadataFile const&);
  ~AddVTPathEntriesToMetadataFile() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void addVTPathEntriesToMetadataFile() const;
  virtual void log_message(UString const& message) const;
  /// Rewrites `ssiSearchFolders` with the entries for which root joined with the entry exists.
  virtual void writePathEntriesToFile(Path const& root, std::set<UString> const& entries) const;
  /// Full paths; without those in folders that cannot be read.
  virtual std::set<Path> getAllPhlFiles(Path const& root) const;
  /// Of a file that cannot be read to its end also what `ssiSearchFolders` holds so far.
  virtual std::set<UString> readPhlFile(Path const& file) const;
  virtual std::set<UString> readAllPhlFiles(std::set<Path> const& files) const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
