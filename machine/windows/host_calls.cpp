#include "machine/host/host_calls.hpp"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "machine/windows/file_lock.hpp"
#include "machine/windows/guarded_path.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/security.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::host {

using namespace windows;

namespace {

int errnoOf(DWORD code) {
  switch (code) {
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
      return EACCES;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_CANT_RESOLVE_FILENAME:
      return ELOOP;
    default:
      return EIO;
  }
}

int failed() {
  errno = errnoOf(GetLastError());
  return -1;
}

UString nameOf(std::filesystem::path const& path) {
  return fromWide(path.native());
}

/// Calls with a path whose folder is reached; a failure to get there is one of the call.
template <class Call>
int guarding(std::filesystem::path const& path, Call call) {
  try {
    GuardedPath guarded("open", nameOf(path));
    return call(guarded);
  } catch (SystemError const& error) {
    errno = errnoOf(error.code());
    return -1;
  }
}

int result(bool succeeded) {
  return succeeded ? 0 : failed();
}

int numberFor(UniqueHandle file, int mode) {
  int const number =
      ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file.get()), mode | _O_BINARY);
  if (number >= 0) file.release();
  return number;
}

UniqueHandle openedForReading(std::filesystem::path const& path, DWORD flags) {
  return UniqueHandle(
      orNull(CreateFileW(wide(systemPath("open", nameOf(path))), GENERIC_READ,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | flags, nullptr)));
}

/// Reparse points that are no links, such as files kept by a cloud service, are opened like any
/// file.
int openForReading(std::filesystem::path const& path) {
  auto file = openedForReading(path, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!file) return failed();
  if (isLinkOpen(file.get())) {
    errno = ELOOP;
    return -1;
  }
  FILE_BASIC_INFO info{};
  bool const isReparsePoint =
      GetFileInformationByHandleEx(file.get(), FileBasicInfo, &info, sizeof info) &&
      (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (isReparsePoint) file = openedForReading(path, 0);
  return file ? numberFor(std::move(file), _O_RDONLY) : failed();
}

int openTrusted(GuardedPath& path) {
  path.requireTrustedFolder();
  auto file = path.open({GENERIC_READ, FILE_OPEN, FILE_NON_DIRECTORY_FILE});
  if (!file) return failed();
  if (isLinkOpen(file.get())) throw UntrustedPath(path.shown() + " is a link");
  auto const access = foreignAccessOf(file.get(), path.name());
  if (access.any()) throw UntrustedPath(path.shown() + " " + weaknessOf(access));
  return numberFor(std::move(file), _O_RDONLY);
}

int createFile(GuardedPath& path, bool isPrivate) {
  if (isPrivate) path.requireTrustedFolder();
  auto const descriptor = isPrivate ? descriptorFrom(ownAccess(false)) : nullptr;
  auto file = path.open({GENERIC_WRITE, FILE_CREATE, FILE_NON_DIRECTORY_FILE, descriptor.get()});
  return file ? numberFor(std::move(file), _O_WRONLY) : failed();
}

int openToWrite(GuardedPath& path, bool appends) {
  auto file = path.openContent({GENERIC_WRITE, FILE_OPEN_IF, FILE_NON_DIRECTORY_FILE});
  FILE_END_OF_FILE_INFO empty{};
  if (!appends &&
      !SetFileInformationByHandle(file.get(), FileEndOfFileInfo, &empty, sizeof empty)) {
    return failed();
  }
  return numberFor(std::move(file), _O_WRONLY | (appends ? _O_APPEND : 0));
}

/// The C runtime counts in unsigned int and returns int.
unsigned chunk(std::size_t size) {
  return static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30));
}

}  // namespace

int openFile(std::filesystem::path const& path, OpenMode mode) {
  if (mode == OpenMode::read) return openForReading(path);
  return guarding(path, [&](GuardedPath& guarded) {
    switch (mode) {
      case OpenMode::truncate:
      case OpenMode::append:
        return openToWrite(guarded, mode == OpenMode::append);
      case OpenMode::createNew:
      case OpenMode::createPrivate:
        return createFile(guarded, mode == OpenMode::createPrivate);
      case OpenMode::lock:
        return numberFor(openLockFile("lock", nameOf(path)), _O_RDWR);
      default:
        return openTrusted(guarded);
    }
  });
}

std::ptrdiff_t readFile(int file, void* buffer, std::size_t size) {
  return ::_read(file, buffer, chunk(size));
}

std::int64_t seekFile(int file, std::int64_t position) {
  return ::_lseeki64(file, position, SEEK_SET);
}

std::ptrdiff_t writeFile(int file, void const* bytes, std::size_t size) {
  return ::_write(file, bytes, chunk(size));
}

int flushFile(int file) {
  return ::_commit(file);
}

int makeFolder(std::filesystem::path const& path) {
  return guarding(path, [](GuardedPath const& guarded) {
    return result(makeFolderIn(guarded, Protection::ofFolder));
  });
}

int makePrivateFolder(std::filesystem::path const& path) {
  return guarding(path, [](GuardedPath const& guarded) {
    return result(makeFolderIn(guarded, Protection::isPrivate));
  });
}

int claimFolder(std::filesystem::path const& path, bool& had) {
  return guarding(path, [&](GuardedPath const&) {
    windows::claimFolder("claim the folder", nameOf(path), had);
    return 0;
  });
}

ForeignAccess foreignAccess(int file) {
  return foreignAccessOf(reinterpret_cast<HANDLE>(::_get_osfhandle(file)), u"an open file");
}

ForeignAccess foreignAccess(std::filesystem::path const& path) {
  return makeFiles()->foreignAccess(nameOf(path));
}

/// Names are in the file system's own journal.
int flushFolder(std::filesystem::path const&) {
  return 0;
}

int closeFile(int file) {
  return ::_close(file);
}

int renameFile(std::filesystem::path const& from, std::filesystem::path const& to) {
  return guarding(from, [&](GuardedPath const& source) {
    return guarding(
        to, [&](GuardedPath const& target) { return result(renameTo(source, target, true)); });
  });
}

int removeFile(std::filesystem::path const& path) {
  return guarding(path, [](GuardedPath const& guarded) {
    return result(removeEntry(guarded, FILE_NON_DIRECTORY_FILE));
  });
}

int removeFolder(std::filesystem::path const& path) {
  return guarding(path, [](GuardedPath const& guarded) {
    return result(removeEntry(guarded, FILE_DIRECTORY_FILE));
  });
}

int tryLockFile(int file) {
  if (windows::tryLock(reinterpret_cast<HANDLE>(::_get_osfhandle(file)))) {
    return 1;
  }
  bool const isHeld = GetLastError() == ERROR_LOCK_VIOLATION;
  errno = EACCES;
  return isHeld ? 0 : -1;
}

}  // namespace machine::host
