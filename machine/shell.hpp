#pragma once

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

/// The Windows shell.
class Shell {
 public:
  virtual ~Shell() = default;
  /// The folder's absolute path, whether it exists yet or not. Throws SystemError.
  virtual UString knownFolder(KnownFolder folder) = 0;
};

}  // namespace machine
