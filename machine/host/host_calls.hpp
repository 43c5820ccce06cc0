#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "machine/api.hpp"
#include "machine/foreign_access.hpp"

/// The few calls on files that hosts spell differently: POSIX's, with its results and errno.
///
/// What makes, writes, renames or removes something reaches its folder without being led elsewhere
/// by what others have laid on the way (machine/host/reach_folder.hpp), and throws UntrustedPath
/// where it was tried. The last name is never followed when it is a link.
namespace machine::host {

enum class OpenMode {
  read,         ///< whoever laid the file, and the way to it
  readTrusted,  ///< only what nobody else may write or replace, on the whole way; else
                ///< UntrustedPath
  truncate,
  append,
  createNew,
  /// createNew, for nobody but administrators (on POSIX hosts the file's owner), in a folder where
  /// nobody else can replace it.
  createPrivate,
  /// For reading and writing, made as createPrivate when missing. Others lose what rights they have
  /// to it; one that belongs to another account is refused (UntrustedPath).
  lock,
};

/// -1 on failure. A file with a second name, a hard link, is not written to (UntrustedPath): the
/// other name may be anywhere.
int openFile(std::filesystem::path const& path, OpenMode mode);
/// Makes a folder: with the access that the one above it gives, but where others may make names as
/// well, with an access list of its own, by which they may read and not write. One that exists is
/// an error. -1 on failure.
int makeFolder(std::filesystem::path const& path);
/// Makes a folder as createPrivate makes a file; so is what will be in it. One that exists is an
/// error. -1 on failure.
int makePrivateFolder(std::filesystem::path const& path);
/// Takes the rights to write in a folder of one's own away from others; `had` tells whether they
/// had any. A folder of another account, or one that others may exchange, is refused
/// (UntrustedPath). -1 on failure.
int claimFolder(std::filesystem::path const& path, bool& had);
/// What others may do with an open file.
ForeignAccess foreignAccess(int file);
/// With what a path names, a link itself. Throws std::system_error.
ForeignAccess foreignAccess(std::filesystem::path const& path);
std::ptrdiff_t readFile(int file, void* buffer, std::size_t size);
/// From the beginning of the file.
std::int64_t seekFile(int file, std::int64_t position);
std::ptrdiff_t writeFile(int file, void const* bytes, std::size_t size);
int flushFile(int file);
/// Has the host put a folder's names on the disk, where it does not with the files themselves. -1
/// on failure.
int flushFolder(std::filesystem::path const& path);
int closeFile(int file);
/// Gives a file a name in the same folder tree, in the place of one that has it. -1 on failure.
int renameFile(std::filesystem::path const& from, std::filesystem::path const& to);
/// Removes a file, or a link itself. -1 on failure, ENOENT when there is none.
REGISTRATION_API int removeFile(std::filesystem::path const& path);
/// Removes an empty folder, on Windows also a link to one. -1 on failure, ENOENT when there is
/// none.
int removeFolder(std::filesystem::path const& path);
/// 1 when the open file is now locked against every other opening of it, until it is closed; 0 when
/// another one has it locked.
int tryLockFile(int file);

}  // namespace machine::host
