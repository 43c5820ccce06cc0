#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// Folders that the system keeps for a purpose (KNOWNFOLDERID).
enum class KnownFolder {
  desktop,          ///< FOLDERID_Desktop, the current user's
  startMenu,        ///< FOLDERID_Programs, the current user's
  publicDesktop,    ///< FOLDERID_PublicDesktop
  commonStartMenu,  ///< FOLDERID_CommonPrograms
  programData,      ///< FOLDERID_ProgramData
  system,           ///< the system directory, GetSystemDirectoryW
};

/// How a program's window first shows.
enum class WindowState { normal, maximized, minimized };

/// What a shortcut, a file named *.lnk, says.
struct Shortcut {
  UString target;              ///< absolute path, of something that exists or not
  UString arguments;           ///< the command line after the target
  UString workingFolder;       ///< empty: the shell's choice
  UString description;         ///< the text that the shell shows on hovering
  UString iconFile;            ///< empty: the target's own icon
  std::int32_t iconIndex = 0;  ///< of the icons in iconFile; negative: minus a resource identifier
  WindowState window = WindowState::normal;
  bool runAsAdministrator = false;
  /// The shell does not look elsewhere for a target that is gone.
  bool neverSearchForTarget = false;

  bool operator==(Shortcut const&) const = default;
};

/// What every provider asks of a shortcut before it writes one at `path`, as its SystemError: a
/// target that is absolute (badPathName), no NUL in a text (invalidParameter), and lengths that the
/// shell keeps (fileNameTooLong): up to 259 units for target, working folder and icon file, 1,023
/// for the description, 32,766 for the arguments.
REGISTRATION_API void requireStorable(std::u16string_view path, Shortcut const& shortcut);

/// The Windows shell. Operations throw SystemError for failures not given an outcome here.
class Shell {
 public:
  virtual ~Shell() = default;
  /// The folder's absolute path, whether it exists yet or not.
  virtual UString knownFolder(KnownFolder folder) = 0;
  /// Makes a shortcut or replaces the file of that name; a failure leaves what was there. The
  /// folder must exist. See requireStorable for what a shortcut can hold. The file at `path` is all
  /// that changes.
  virtual void writeShortcut(std::u16string_view path, Shortcut const& shortcut) = 0;
  /// nullopt when nothing of that name exists; a file that is no shortcut is an error
  /// (invalidData). The shell may tell the target's path in the spelling of the disk.
  virtual std::optional<Shortcut> readShortcut(std::u16string_view path) = 0;
  /// Tells the shell that file associations have changed: SHChangeNotify, SHCNE_ASSOCCHANGED.
  virtual void announceAssociationsChanged() = 0;
};

}  // namespace machine
