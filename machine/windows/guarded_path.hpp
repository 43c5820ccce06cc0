#pragma once

#include <windows.h>

#include <winternl.h>

#include <string_view>
#include <utility>

#include "machine/host/reach_folder.hpp"
#include "machine/windows/handles.hpp"

namespace machine::windows {

/// How a name is opened, in the terms of NtCreateFile.
struct Opening {
  ACCESS_MASK access = 0;         ///< SYNCHRONIZE and FILE_READ_ATTRIBUTES are always asked for
  ULONG disposition = FILE_OPEN;  ///< FILE_OPEN, FILE_CREATE, FILE_OPEN_IF
  ULONG options = 0;              ///< FILE_DIRECTORY_FILE, FILE_NON_DIRECTORY_FILE
  PSECURITY_DESCRIPTOR descriptor = nullptr;  ///< of what is made; nullptr: as the folder gives it
  ULONG share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
};

/// The folder that a path's last name lies in, reached as machine/host/reach_folder.hpp says and
/// held open, and the name. What is opened is opened in that folder, never through a link.
class GuardedPath {
 public:
  using Folder = host::ReachedFolder<UniqueHandle>;

  /// Throws UntrustedPath and SystemError. `operation`, for its text, must outlive this object.
  GuardedPath(std::string_view operation, std::u16string_view path);

  Folder const& folder() const { return folder_; }
  UString const& name() const { return name_; }
  /// Whether others may make names in the folder.
  bool isAmongOthers() const { return folder_.access.any(); }
  /// Throws UntrustedPath unless nobody else may exchange the name.
  void requireTrustedFolder();
  /// The name with its folder's, for a refusal's text.
  std::string shown() const;

  /// Nothing when that fails, with GetLastError() telling why.
  UniqueHandle open(Opening const& opening) const;
  /// A file's content. A link in this place is followed as one on the way is; a file with a second
  /// name is refused. Throws UntrustedPath and SystemError.
  UniqueHandle openContent(Opening const& opening);

 private:
  Folder goneThrough() const;

  std::string_view operation_;
  UString path_;  ///< as given, for messages
  UString full_;
  Folder folder_;
  UString name_;
};

/// Whether an open handle is one to a link itself.
bool isLinkOpen(HANDLE file);

/// Calls again for a few seconds while something is held open by another program, such as one that
/// looks at fresh files. `call` answers whether it succeeded, and leaves the reason in
/// GetLastError().
template <class Call>
bool retryingWhileHeld(Call call) {
  constexpr DWORD longestWait = 3000;  // milliseconds, in all
  DWORD waited = 0;
  for (DWORD wait = 10; !call(); wait *= 2) {
    DWORD const error = GetLastError();
    bool const isHeld = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                        error == ERROR_USER_MAPPED_FILE;
    if (!isHeld || waited >= longestWait) {
      SetLastError(error);
      return false;
    }
    Sleep(wait);
    waited += wait;
  }
  return true;
}

/// A failure is in GetLastError(). While somebody holds the file these try again.
/// `options`: FILE_DIRECTORY_FILE or FILE_NON_DIRECTORY_FILE.
bool removeEntry(GuardedPath const& path, ULONG options);
bool renameTo(GuardedPath const& from, GuardedPath const& to, bool replaceExisting);

enum class Protection {
  ofFolder,  ///< what the folder above gives; among others, reading only for them
  isPrivate  ///< nothing for others
};
/// Makes a folder. False with the reason in GetLastError(), ERROR_ALREADY_EXISTS for any that is
/// there.
bool makeFolderIn(GuardedPath const& path, Protection protection);
/// Gives a folder the rights of one's own, see Files::claimDirectory; `had` tells whether others
/// had rights to write. Throws UntrustedPath and SystemError.
void claimFolder(std::string_view operation, std::u16string_view path, bool& had);
/// As Files::lock opens its file. Throws UntrustedPath and SystemError.
UniqueHandle openLockFile(std::string_view operation, std::u16string_view path);

}  // namespace machine::windows
