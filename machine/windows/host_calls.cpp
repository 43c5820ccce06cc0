#include "machine/simulated/host_calls.hpp"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "machine/windows/file_lock.hpp"

namespace machine::simulated::host {

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
      break;
  }
  return _O_RDONLY;
}

/// The C runtime counts in unsigned int and returns int.
unsigned chunk(std::size_t size) {
  return static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30));
}

}  // namespace

int openFile(std::filesystem::path const& path, OpenMode mode) {
  return ::_wopen(path.c_str(), flags(mode) | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
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

int closeFile(int file) {
  return ::_close(file);
}

int tryLockFile(int file) {
  if (windows::tryLock(reinterpret_cast<HANDLE>(::_get_osfhandle(file)))) {
    return 1;
  }
  bool const isHeld = GetLastError() == ERROR_LOCK_VIOLATION;
  errno = EACCES;
  return isHeld ? 0 : -1;
}

}  // namespace machine::simulated::host
