#include "machine/host/host_calls.hpp"

#include <fcntl.h>
#include <grp.h>
#include <linux/openat2.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "machine/host/host_file.hpp"
#include "machine/host/reach_folder.hpp"

namespace machine::host {

namespace fs = std::filesystem;

namespace {

class Descriptor {
 public:
  explicit Descriptor(int file = -1) : file_(file) {}
  ~Descriptor() {
    if (file_ >= 0) ::close(file_);
  }
  Descriptor(Descriptor&& other) noexcept : file_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(file_, other.file_);
    return *this;
  }

  int get() const { return file_; }
  int release() { return std::exchange(file_, -1); }

 private:
  int file_;
};

std::string accountName(uid_t user) {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> texts;
  ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
  return found ? found->pw_name : "user " + std::to_string(user);
}

/// The running user's own group, which has no other members: many systems give each user one.
bool isOwnGroup(gid_t group) {
  if (group != ::getegid()) return false;
  ::group entry{};
  ::group* found = nullptr;
  std::array<char, 16384> texts;
  ::getgrgid_r(group, &entry, texts.data(), texts.size(), &found);
  if (!found) return false;
  auto const self = accountName(::geteuid());
  for (char** member = found->gr_mem; *member; ++member) {
    if (*member != self) return false;
  }
  return found->gr_name == self;
}

ForeignAccess accessIn(struct stat const& status) {
  ForeignAccess access;
  constexpr uid_t administrator = 0;
  if (status.st_uid != administrator && status.st_uid != ::geteuid()) {
    return {toUtf16(accountName(status.st_uid)), true, true};
  }
  if (S_ISLNK(status.st_mode)) return access;  // a link has no rights of its own
  bool const byGroup = (status.st_mode & S_IWGRP) != 0 && status.st_gid != 0;
  access.mayWrite = (status.st_mode & S_IWOTH) != 0 || (byGroup && !isOwnGroup(status.st_gid));
  // In a folder like /tmp everybody removes and renames what is his only.
  bool const keepsNames = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  access.mayReplace = access.mayWrite && S_ISDIR(status.st_mode) && !keepsNames;
  return access;
}

/// Of what was opened just now. Throws std::system_error, also when that had failed.
struct stat statusOf(Descriptor const& opened, std::string const& path) {
  struct stat status {};
  if (opened.get() < 0 || ::fstat(opened.get(), &status) != 0) {
    throw hostError("open the folder", path);
  }
  return status;
}

/// For reachFolder.
class PosixSystem {
 public:
  using Path = fs::path;
  using Handle = Descriptor;
  using Folder = ReachedFolder<Handle>;
  struct Entry {
    Handle handle;
    std::string name;
    bool isLink = false;
    ForeignAccess access{};
  };

  static std::vector<Path> names(Path const& folder) {
    auto const below = folder.relative_path();
    std::vector<Path> result;
    for (auto const& name : below) {
      if (!name.empty() && name != ".") result.push_back(name);
    }
    return result;
  }

  static Folder root(Path const& folder) {
    auto const path = folder.root_path().native();
    Descriptor handle(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    auto access = accessIn(statusOf(handle, path));
    return {std::move(handle), path, std::move(access), {}};
  }

  static Entry open(Folder const& folder, Path const& name) {
    Entry entry{
        Descriptor(::openat(folder.handle.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)),
        (fs::path(folder.name) / name).string()};
    auto const status = statusOf(entry.handle, entry.name);
    entry.isLink = S_ISLNK(status.st_mode);
    entry.access = accessIn(status);
    return entry;
  }

  static Path target(Folder const& folder, Path const& name) {
    std::string text(4096, '\0');
    auto const size = ::readlinkat(folder.handle.get(), name.c_str(), text.data(), text.size());
    if (size < 0) throw hostError("read the link", fs::path(folder.name) / name);
    text.resize(static_cast<std::size_t>(size));
    return fs::path(folder.name) / text;
  }

  static Path joined(Path const& folder, Path const& name) { return folder / name; }

  [[noreturn]] static void failTooManyLinks(Path const& folder) {
    errno = ELOOP;
    throw hostError("open the folder", folder);
  }
};

using Folder = PosixSystem::Folder;

/// The folder, where no link at all is on the way: in one call, whatever others may do above it.
std::optional<Folder> folderWithoutLinks(std::string const& path) {
  open_how how{};
  how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  Descriptor handle(
      static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
  bool const hasLinksOrNoSuchCall =
      handle.get() < 0 && (errno == ELOOP || errno == ENOSYS || errno == EPERM);
  if (hasLinksOrNoSuchCall) return std::nullopt;
  auto access = accessIn(statusOf(handle, path));
  return Folder{std::move(handle), path, std::move(access), {}};
}

/// The folder that a name lies in, and the name. The path is taken apart as text: the library's
/// path is a list of names, which is long in a deep tree.
class Target {
 public:
  explicit Target(fs::path const& path) {
    auto const text = path.is_absolute() ? path.native() : fs::absolute(path).native();
    auto const separator = text.rfind('/');
    parent_ = text.substr(0, std::max<std::size_t>(separator, 1));
    name_ = text.substr(separator + 1);
    auto direct = folderWithoutLinks(parent_);
    folder_ = direct ? std::move(*direct) : goneThrough();
  }

  std::string const& name() const { return name_; }
  int at() const { return folder_.handle.get(); }
  bool isAmongOthers() const { return folder_.access.any(); }
  std::string shown() const { return (fs::path(folder_.name) / name()).string(); }
  void requireTrustedFolder() {
    folder_ = goneThrough();
    auto const weakness = folder_.weaknessWithin();
    if (!weakness.empty()) throw UntrustedPath(weakness);
  }

 private:
  Folder goneThrough() const {
    PosixSystem system;
    return reachFolder(system, fs::path(parent_));
  }

  std::string parent_;
  std::string name_;
  Folder folder_;
};

/// Calls with a path's folder and name; a failure to get there is one of the call.
template <class Call>
int inFolder(fs::path const& path, Call call) {
  std::optional<Target> target;
  try {
    target.emplace(path);
  } catch (std::system_error const& error) {
    errno = error.code().value();
    return -1;
  }
  return call(*target);
}

int flags(OpenMode mode) {
  switch (mode) {
    case OpenMode::truncate:  // not before it is known what is truncated
      return O_WRONLY | O_CREAT;
    case OpenMode::append:
      return O_WRONLY | O_CREAT | O_APPEND;
    case OpenMode::createNew:
    case OpenMode::createPrivate:
      return O_WRONLY | O_CREAT | O_EXCL;
    case OpenMode::lock:
      return O_RDWR | O_CREAT;
    case OpenMode::read:
    case OpenMode::readTrusted:
      break;
  }
  return O_RDONLY;
}

int openIn(Target& target, OpenMode mode) {
  bool const isTrusted = mode == OpenMode::readTrusted || mode == OpenMode::createPrivate;
  if (isTrusted) target.requireTrustedFolder();
  bool const isPrivate = mode == OpenMode::createPrivate || mode == OpenMode::lock;
  mode_t const permissions = isPrivate ? 0600 : 0666;
  // Opening a pipe must not wait for its other end.
  Descriptor file(::openat(target.at(), target.name().c_str(),
                           flags(mode) | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, permissions));
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return -1;
  if (mode == OpenMode::readTrusted) {
    auto const access = accessIn(status);
    if (access.any()) throw UntrustedPath(target.shown() + " " + weaknessOf(access));
  } else if (S_ISREG(status.st_mode) && status.st_nlink > 1) {
    throw UntrustedPath(target.shown() + " has a second name (a hard link), which may be anywhere");
  }
  if (mode == OpenMode::lock) {
    if (auto const access = accessIn(status); !access.owner.empty()) {
      throw UntrustedPath(target.shown() + " " + weaknessOf(access));
    }
    if (::fchmod(file.get(), 0600) != 0) return -1;
  }
  if (mode == OpenMode::truncate && ::ftruncate(file.get(), 0) != 0) return -1;
  return file.release();
}

int makeFolderIn(fs::path const& path, mode_t permissions, mode_t permissionsAmongOthers) {
  return inFolder(path, [&](Target const& target) {
    return ::mkdirat(target.at(), target.name().c_str(),
                     target.isAmongOthers() ? permissionsAmongOthers : permissions);
  });
}

}  // namespace

int openFile(fs::path const& path, OpenMode mode) {
  if (mode == OpenMode::read) {
    return ::open(path.c_str(), flags(mode) | O_CLOEXEC | O_NOFOLLOW);
  }
  return inFolder(path, [&](Target& target) { return openIn(target, mode); });
}

int makeFolder(fs::path const& path) {
  return makeFolderIn(path, 0777, 0755);
}

int makePrivateFolder(fs::path const& path) {
  return makeFolderIn(path, 0700, 0700);
}

int claimFolder(fs::path const& path, bool& had) {
  return inFolder(path, [&](Target& target) {
    target.requireTrustedFolder();
    Descriptor const folder(::openat(target.at(), target.name().c_str(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (folder.get() < 0 || ::fstat(folder.get(), &status) != 0) return -1;
    auto const access = accessIn(status);
    if (!access.owner.empty()) throw UntrustedPath(target.shown() + " " + weaknessOf(access));
    had = access.any();
    return had ? ::fchmod(folder.get(), status.st_mode & 07777 & ~mode_t{S_IWGRP | S_IWOTH}) : 0;
  });
}

ForeignAccess foreignAccess(int file) {
  struct stat status {};
  if (::fstat(file, &status) != 0) throw hostError("look at", "an open file");
  return accessIn(status);
}

ForeignAccess foreignAccess(fs::path const& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) throw hostError("look at", path);
  return accessIn(status);
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

int flushFolder(fs::path const& path) {
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

int renameFile(fs::path const& from, fs::path const& to) {
  return inFolder(from, [&](Target const& source) {
    return inFolder(to, [&](Target const& target) {
      return ::renameat(source.at(), source.name().c_str(), target.at(), target.name().c_str());
    });
  });
}

int removeFile(fs::path const& path) {
  return inFolder(
      path, [](Target const& target) { return ::unlinkat(target.at(), target.name().c_str(), 0); });
}

int removeFolder(fs::path const& path) {
  return inFolder(path, [](Target const& target) {
    return ::unlinkat(target.at(), target.name().c_str(), AT_REMOVEDIR);
  });
}

int tryLockFile(int file) {
  if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
    return 1;
  }
  return errno == EWOULDBLOCK || errno == EINTR ? 0 : -1;
}

}  // namespace machine::host
