#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "machine/api.hpp"

/// The few calls on open files that hosts spell differently: POSIX's, with its results and errno.
namespace machine::host {

enum class OpenMode {
  read,
  truncate,
  append,
  createNew,
  createPrivate,  ///< createNew, for nobody but administrators: on POSIX hosts the file's owner
};

/// Opens a file, never through a link where the host can tell. -1 on failure.
int openFile(std::filesystem::path const& path, OpenMode mode);
/// Makes a folder, with the access that the one above it gives. One that exists is an error. -1 on
/// failure.
int makeFolder(std::filesystem::path const& path);
/// Makes a folder as createPrivate makes a file; so is what will be in it. One that exists is an
/// error. -1 on failure.
int makePrivateFolder(std::filesystem::path const& path);
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
/// 1 when the open file is now locked against every other opening of it, until it is closed; 0 when
/// another one has it locked.
int tryLockFile(int file);

}  // namespace machine::host
