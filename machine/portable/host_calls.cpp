#include "machine/host/host_calls.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace machine::host {

namespace {

int flags(OpenMode mode) {
  switch (mode) {
    case OpenMode::truncate:
      return O_WRONLY | O_CREAT | O_TRUNC;
    case OpenMode::append:
      return O_WRONLY | O_CREAT | O_APPEND;
    case OpenMode::createNew:
    case OpenMode::createPrivate:
      return O_WRONLY | O_CREAT | O_EXCL;
    case OpenMode::read:
      break;
  }
  return O_RDONLY;
}

}  // namespace

int openFile(std::filesystem::path const& path, OpenMode mode) {
  auto const permissions = mode == OpenMode::createPrivate ? 0600 : 0666;
  return ::open(path.c_str(), flags(mode) | O_CLOEXEC | O_NOFOLLOW, permissions);
}

int makeFolder(std::filesystem::path const& path) {
  return ::mkdir(path.c_str(), 0777);
}

int makePrivateFolder(std::filesystem::path const& path) {
  return ::mkdir(path.c_str(), 0700);
}

std::ptrdiff_t readFile(int file, void* buffer, std::size_t size) {
  return ::read(file, buffer, size);
}

std::int64_t seekFile(int file, std::int64_t position) {
  return ::lseek(file, position, SEEK_SET);
}

std::ptrdiff_t writeFile(int file, void const* bytes, std::size_t size) {
  return ::write(file, bytes, size);
}

int flushFile(int file) {
  return ::fsync(file);
}

int flushFolder(std::filesystem::path const& path) {
  int const folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return -1;
  int const result = ::fsync(folder);
  int const error = errno;
  ::close(folder);
  errno = error;
  return result;
}

int closeFile(int file) {
  return ::close(file);
}

int renameFile(std::filesystem::path const& from, std::filesystem::path const& to) {
  return std::rename(from.c_str(), to.c_str());
}

int removeFile(std::filesystem::path const& path) {
  return ::unlink(path.c_str());
}

int tryLockFile(int file) {
  if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
    return 1;
  }
  return errno == EWOULDBLOCK || errno == EINTR ? 0 : -1;
}

}  // namespace machine::host
