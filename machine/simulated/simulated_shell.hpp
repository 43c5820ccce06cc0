#pragma once

#include "machine/files.hpp"
#include "machine/shell.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// The shell of a Windows on drive C with the user "User", and how often it was told of new
/// associations. A shortcut is a JSON file, its members named as Shortcut's:
///   {"version": 1, "target": "C:\\x\\tool.exe", "arguments": "", "workingFolder": "C:\\x",
///    "description": "", "iconFile": "", "iconIndex": 0, "window": "normal",
///    "runAsAdministrator": false, "neverSearchForTarget": false}
/// Texts that are no well-formed UTF-16 are refused (invalidParameter).
class SimulatedShell final : public Shell {
 public:
  /// Shortcuts are kept in `files`, which must outlive this object.
  explicit SimulatedShell(Files& files) : files_(files) {}

  /// What toJson wrote. Throws std::runtime_error.
  void readJson(JsonValue const& document);

  /// desktop          C:\Users\User\Desktop
  /// startMenu        C:\Users\User\AppData\Roaming\Microsoft\Windows\Start Menu\Programs
  /// publicDesktop    C:\Users\Public\Desktop
  /// commonStartMenu  C:\ProgramData\Microsoft\Windows\Start Menu\Programs
  /// programData      C:\ProgramData
  /// system           C:\Windows\System32
  UString knownFolder(KnownFolder folder) override;
  void writeShortcut(std::u16string_view path, Shortcut const& shortcut) override;
  std::optional<Shortcut> readShortcut(std::u16string_view path) override;
  /// Counts.
  void announceAssociationsChanged() override { ++announcements_; }

  /// {"associationChangeAnnouncements": 0}
  nlohmann::json toJson() const;

 private:
  Files& files_;
  std::uint64_t announcements_ = 0;
};

}  // namespace machine::simulated
