#pragma once

#include <set>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Collects the Java class path entries that the installed parts declare in JCP files, anywhere
/// below the metadata root, and adds those that exist and are not listed yet to the metadata file
/// `javaClassPath` there.
///
/// A JCP file (extension exactly `jcp`) is UTF-8 text, one path a line, with either slash;
/// `$vortanroot` stands for the metadata root. Lines are trimmed, empty ones and those that begin
/// with # skipped.
///
/// undo does the same as execute: what is listed already is not added again, so a repeated run is
/// harmless. A std::exception is logged and ends the call.
class REGISTRATION_API AddJavaPathEntriesToMetadataFile : public utility::Command {
 public:
  explicit AddJavaPathEntriesToMetadataFile(utility::Options const& options);
  AddJavaPathEntriesToMetadataFile(AddJavaPathEntriesToMetadataFile const&);
  ~AddJavaPathEntriesToMetadataFile() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void addJavaPathEntriesToMetadataFile() const;
  virtual void log_message(UString const& message) const;
  /// Appends the entries that exist to `javaClassPath`, which begins with a header when it is new.
  /// Does and logs nothing without entries.
  virtual void writePathEntriesToFile(Path const& root, std::set<UString> const& entries) const;
  /// Full paths; without those in folders that cannot be read.
  virtual std::set<Path> getAllJcpFiles(Path const& root) const;
  /// The entries with the metadata root in place, in native form.
  virtual std::set<UString> readJcpFile(Path const& file) const;
  virtual std::set<UString> readAllJcpFiles(std::set<Path> const& files) const;
  /// What `javaClassPath` lists; nothing when it is missing or cannot be opened.
  virtual std::set<UString> getPathEntriesFromMetadataFile(Path const& root) const;
  /// The new entries that are not present in exactly the same spelling.
  virtual std::set<UString> filterPathEntriesAlreadyPresentInMetadataFile(
      std::set<UString> const& newEntries, std::set<UString> const& presentEntries) const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
