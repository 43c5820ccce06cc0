#include "machine/host/host_calls.hpp"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sddl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "machine/windows/file_lock.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::host {

namespace {

int flags(OpenMode mode) {
  switch (mode) {
    case OpenMode::truncate:
      return _O_WRONLY | _O_CREAT | _O_TRUNC;
    case OpenMode::append:
      return _O_WRONLY | _O_CREAT | _O_APPEND;
    case OpenMode::createNew:
      return _O_WRONLY | _O_CREAT | _O_EXCL;
    case OpenMode::read:
    case OpenMode::createPrivate:
      break;
  }
  return _O_RDONLY;
}

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
  return windows::systemPath("open", fromWide(path.native()));
}

/// Full access for administrators and the system, for nobody else, nothing taken over from the
/// folder above; what is made in a folder gets the same.
constexpr wchar_t const* administratorsOnly = L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";

/// Calls what makes something under that protection.
template <class Call>
bool makePrivate(Call call) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(administratorsOnly, SDDL_REVISION_1,
                                                            &descriptor, nullptr)) {
    return false;
  }
  std::unique_ptr<void, windows::ReleaseWith<LocalFree>> const owner(descriptor);
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
  return call(&attributes);
}

int numberFor(windows::UniqueHandle file, int mode) {
  int const number = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file.get()), mode);
  if (number >= 0) file.release();
  return number;
}

int createPrivateFile(std::filesystem::path const& path) {
  windows::UniqueHandle file;
  // Opening a reparse point itself makes an existing link an error like any other file.
  bool const made = makePrivate([&](SECURITY_ATTRIBUTES* attributes) {
    file.reset(windows::orNull(
        CreateFileW(windows::wide(nameOf(path)), GENERIC_WRITE, FILE_SHARE_READ, attributes,
                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)));
    return file != nullptr;
  });
  return made ? numberFor(std::move(file), _O_BINARY) : failed();
}

windows::UniqueHandle openedForReading(std::filesystem::path const& path, DWORD flags) {
  return windows::UniqueHandle(
      windows::orNull(CreateFileW(windows::wide(nameOf(path)), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | flags, nullptr)));
}

/// Reparse points that are no links, such as files kept by a cloud service, are opened like any
/// file.
int openForReading(std::filesystem::path const& path) {
  auto file = openedForReading(path, FILE_FLAG_OPEN_REPARSE_POINT);
  if (!file) return failed();
  FILE_ATTRIBUTE_TAG_INFO info{};
  bool const isReparsePoint =
      GetFileInformationByHandleEx(file.get(), FileAttributeTagInfo, &info, sizeof info) &&
      (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (isReparsePoint && IsReparseTagNameSurrogate(info.ReparseTag)) {
    errno = ELOOP;
    return -1;
  }
  if (isReparsePoint) file = openedForReading(path, 0);
  return file ? numberFor(std::move(file), _O_BINARY | _O_RDONLY) : failed();
}

/// The C runtime counts in unsigned int and returns int.
unsigned chunk(std::size_t size) {
  return static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30));
}

}  // namespace

int openFile(std::filesystem::path const& path, OpenMode mode) {
  if (mode == OpenMode::createPrivate) return createPrivateFile(path);
  if (mode == OpenMode::read) return openForReading(path);
  return ::_wopen(windows::wide(nameOf(path)), flags(mode) | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
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
  return CreateDirectoryW(windows::wide(nameOf(path)), nullptr) ? 0 : failed();
}

int makePrivateFolder(std::filesystem::path const& path) {
  bool const made = makePrivate([&](SECURITY_ATTRIBUTES* attributes) {
    return CreateDirectoryW(windows::wide(nameOf(path)), attributes) != FALSE;
  });
  return made ? 0 : failed();
}

/// Names are in the file system's own journal.
int flushFolder(std::filesystem::path const&) {
  return 0;
}

int closeFile(int file) {
  return ::_close(file);
}

int renameFile(std::filesystem::path const& from, std::filesystem::path const& to) {
  bool const renamed = MoveFileExW(windows::wide(nameOf(from)), windows::wide(nameOf(to)),
                                   MOVEFILE_REPLACE_EXISTING) != FALSE;
  return renamed ? 0 : failed();
}

int removeFile(std::filesystem::path const& path) {
  return DeleteFileW(windows::wide(nameOf(path))) ? 0 : failed();
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
