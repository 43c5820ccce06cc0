#include "machine/simulated/simulated_files.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <system_error>
#include <thread>
#include <tuple>
#include <vector>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/host/own_way.hpp"
#include "machine/path_grammar.hpp"
#include "machine/simulated/version_resource.hpp"

namespace machine::simulated {

namespace fs = std::filesystem;
using Operation = SimulatedFiles::Operation;

/// An operation and what it is about, for the message of its failure.
struct SimulatedFiles::Operation {
  std::string_view name;
  std::u16string_view subject;

  [[noreturn]] void fail(ErrorCode code) const { throw SystemError(name, subject, code); }
  void require(bool condition, ErrorCode code) const {
    if (!condition) fail(code);
  }
  void check(std::error_code const& error) const {
    if (error) fail(fromHost(error));
  }
  /// Runs what reports the host's failures as std::system_error.
  template <typename Call>
  auto run(Call&& call) const {
    try {
      return refusingUntrusted(name, subject, call);
    } catch (std::system_error const& error) {
      fail(fromHost(error.code()));
    }
  }
  /// The same, for what answers with a failure of -1.
  template <typename Call>
  void runHost(Call&& call) const {
    run([&] {
      if (call() != 0) throw std::system_error(errno, std::generic_category());
    });
  }
  Place const& reachable(Place const& place) const {
    require(place.problem == ErrorCode::success, place.problem);
    return place;
  }
  Place const& existing(Place const& place) const {
    require(reachable(place).exists(), ErrorCode::fileNotFound);
    return place;
  }
};

namespace {

/// The name cannot exist on this machine, or nothing bears it.
bool isNowhere(Place const& place) {
  switch (place.problem) {
    case ErrorCode::success:
      return !place.exists();
    case ErrorCode::fileNotFound:
    case ErrorCode::pathNotFound:
    case ErrorCode::invalidName:
    case ErrorCode::fileNameTooLong:
      return true;
    default:
      return false;
  }
}

/// Nothing to remove. A name that cannot exist is no error either.
bool isGone(Place const& place, Operation const& operation) {
  if (isNowhere(place)) return true;
  operation.existing(place);
  return false;
}

bool isReadOnly(fs::file_status const& status) {
  return (status.permissions() & fs::perms::owner_write) == fs::perms::none;
}

using FileTimeTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

/// From 1601 to 1970.
constexpr FileTimeTicks toHostEpoch(116'444'736'000'000'000);

FileTime writtenAt(fs::path const& host, Operation const& operation) {
  std::error_code error;
  auto const time = fs::last_write_time(host, error);
  operation.check(error);
  auto const since = std::chrono::file_clock::to_sys(time).time_since_epoch();
  return static_cast<FileTime>((std::chrono::floor<FileTimeTicks>(since) + toHostEpoch).count());
}

fs::file_time_type hostTime(FileTime time) {
  FileTimeTicks const ticks(static_cast<std::int64_t>(time));
  return std::chrono::file_clock::from_sys(
      std::chrono::sys_time<std::chrono::nanoseconds>(ticks - toHostEpoch));
}

/// Windows sorts a folder by name; the host's order would differ from one computer to the next.
class SortedNames final : public DirectoryStream {
 public:
  explicit SortedNames(fs::path const& folder) {
    for (auto const& entry : fs::directory_iterator(folder)) {
      auto name = fromHostName(entry.path().filename());
      auto key = foldCase(name);
      auto const status = entry.symlink_status();
      entries_.push_back({std::move(key), std::move(name), isFolder(entry.path(), status),
                          fs::is_symlink(status)});
    }
    std::sort(entries_.begin(), entries_.end(), [](Entry const& a, Entry const& b) {
      return std::tie(a.key, a.name) < std::tie(b.key, b.name);
    });
  }

  bool next(DirectoryEntry& entry) override {
    if (next_ == entries_.size()) return false;
    auto const& current = entries_[next_++];
    entry = {current.name, current.isDirectory, current.isLink};
    return true;
  }

 private:
  struct Entry {
    UString key;
    UString name;
    bool isDirectory;
    bool isLink;
  };
  std::vector<Entry> entries_;
  std::size_t next_ = 0;
};

class HostReader final : public FileReader {
 public:
  HostReader(fs::path const& host, std::u16string_view path)
      : file_(host, host::OpenMode::read), path_(path) {}
  std::size_t read(std::span<char> buffer) override {
    return Operation{"read", path_}.run([&] { return file_.read(buffer); });
  }
  void seek(std::uint64_t position) override {
    Operation{"seek in", path_}.run([&] { file_.seek(position); });
  }
  ForeignAccess foreignAccess() override { return file_.foreignAccess(); }

 private:
  HostFile file_;
  UString path_;
};

class HostWriter final : public FileWriter {
 public:
  HostWriter(fs::path const& host, host::OpenMode mode, std::u16string_view path)
      : file_(host, mode), path_(path) {}
  void write(std::string_view bytes) override {
    Operation{"write", path_}.run([&] { file_.write(bytes); });
  }
  void flushToDisk() override {
    Operation{"flush", path_}.run([&] { file_.flush(); });
  }
  void close() override {
    Operation{"close", path_}.run([&] { file_.close(); });
  }

 private:
  HostFile file_;
  UString path_;
};

class HostLock final : public FileLock {
 public:
  explicit HostLock(fs::path const& host) : file_(host, host::OpenMode::lock) {}
  bool tryLock() { return file_.tryLock(); }

 private:
  HostFile file_;
};

host::OpenMode hostMode(WriteMode mode) {
  switch (mode) {
    case WriteMode::append:
      return host::OpenMode::append;
    case WriteMode::createNew:
      return host::OpenMode::createNew;
    case WriteMode::truncate:
      break;
  }
  return host::OpenMode::truncate;
}

/// Removes a file, a link or an empty folder, read-only or not.
void removeFromHost(fs::path const& host, bool isLink, Operation const& operation) {
  std::error_code error;
  fs::remove(host, error);
  if (error == std::errc::permission_denied && !isLink) {
    std::error_code unused;
    fs::permissions(host, fs::perms::owner_write, fs::perm_options::add, unused);
    fs::remove(host, error);
  }
  operation.check(error);
}

/// One name of one folder entry, in another case perhaps. On a host that knows case, names that
/// differ in it may be two entries.
bool isSameEntry(Place const& a, Place const& b) {
  std::error_code error;
  return a.host == b.host ||
         (a.host.parent_path() == b.host.parent_path() &&
          equalIgnoringCase(fromHostName(a.host.filename()), fromHostName(b.host.filename())) &&
          fs::equivalent(a.host, b.host, error));
}

/// Hosts that know no case may tell a path as it was asked for.
bool isBelow(fs::path const& path, fs::path const& folder) {
  auto const isSame = [](fs::path const& a, fs::path const& b) {
    return equalIgnoringCase(fromHostName(a), fromHostName(b));
  };
  auto const [end, rest] =
      std::mismatch(folder.begin(), folder.end(), path.begin(), path.end(), isSame);
  return end == folder.end() && rest != path.end();
}

}  // namespace

UString SimulatedFiles::absolute(std::u16string_view path) const {
  return path_grammar::absolute(path, currentFolder_);
}

/// For what makes or changes something at this place.
void SimulatedFiles::requireOwnWay(Operation const& operation, Place const& place,
                                   std::u16string_view path) {
  if (!place.isBehindLink) return;
  operation.run([&] { machine::requireOwnWay(*this, path); });
}

std::optional<FileStatus> SimulatedFiles::status(std::u16string_view path) {
  Operation const operation{"get the status of", path};
  auto const place = tree_.find(absolute(path));
  if (isNowhere(place)) return std::nullopt;
  operation.existing(place);
  FileStatus result{isFolder(place.host, place.status), place.isLink()};
  if (fs::is_regular_file(place.status)) {
    result.attributes.isReadOnly = isReadOnly(place.status);
    result.attributes.written = writtenAt(place.host, operation);
    std::error_code error;
    result.size = fs::file_size(place.host, error);
    operation.check(error);
  }
  return result;
}

std::unique_ptr<DirectoryStream> SimulatedFiles::openDirectory(std::u16string_view path) {
  Operation const operation{"list", path};
  auto const place = tree_.findTarget(absolute(path));
  operation.require(operation.reachable(place).exists(), ErrorCode::pathNotFound);
  operation.require(fs::is_directory(place.status), ErrorCode::directory);
  return operation.run([&] { return std::make_unique<SortedNames>(place.host); });
}

std::unique_ptr<FileReader> SimulatedFiles::openForReading(std::u16string_view path) {
  Operation const operation{"open for reading", path};
  auto const place = tree_.findTarget(absolute(path));
  // Anything else, a pipe or a device of the host, is not the machine's.
  operation.require(fs::is_regular_file(operation.existing(place).status), ErrorCode::accessDenied);
  return operation.run([&] { return std::make_unique<HostReader>(place.host, path); });
}

std::unique_ptr<FileWriter> SimulatedFiles::openForWriting(std::u16string_view path,
                                                           WriteMode mode) {
  Operation const operation{"open for writing", path};
  auto const file = absolute(path);
  bool const isNew = mode == WriteMode::createNew;
  auto const place = isNew ? tree_.find(file) : tree_.findTarget(file);
  requireOwnWay(operation, place, isNew ? path_grammar::parent(file) : file);
  if (operation.reachable(place).exists()) {
    operation.require(!isNew, ErrorCode::fileExists);
    operation.require(fs::is_regular_file(place.status) && !isReadOnly(place.status),
                      ErrorCode::accessDenied);
  }
  return operation.run(
      [&] { return std::make_unique<HostWriter>(place.host, hostMode(mode), path); });
}

bool SimulatedFiles::makeDirectory(Operation const& operation, std::u16string_view path) {
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  if (operation.reachable(place).exists()) {
    operation.require(isFolder(place.host, place.status), ErrorCode::alreadyExists);
    return false;
  }
  operation.require(!place.isRoot, ErrorCode::pathNotFound);
  operation.runHost([&] { return host::makeFolder(place.host); });
  return true;
}

void SimulatedFiles::createDirectory(std::u16string_view path) {
  makeDirectory({"make the folder", path}, path);
}

Claim SimulatedFiles::claimDirectory(std::u16string_view path) {
  Operation const operation{"claim the folder", path};
  bool const isNew = makeDirectory(operation, path);
  auto const host = tree_.find(absolute(path)).host;
  bool isTakenOver = false;
  operation.runHost([&] { return host::claimFolder(host, isTakenOver); });
  if (isNew) return Claim::made;
  return isTakenOver ? Claim::takenOver : Claim::own;
}

ForeignAccess SimulatedFiles::foreignAccess(std::u16string_view path) {
  Operation const operation{"look at", path};
  auto const place = operation.existing(tree_.find(absolute(path)));
  return operation.run([&] { return host::foreignAccess(place.host); });
}

bool SimulatedFiles::removeFile(std::u16string_view path) {
  Operation const operation{"remove the file", path};
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  if (isGone(place, operation)) return false;
  operation.require(!isFolder(place.host, place.status), ErrorCode::accessDenied);
  removeFromHost(place.host, place.isLink(), operation);
  return true;
}

bool SimulatedFiles::removeDirectory(std::u16string_view path) {
  Operation const operation{"remove the folder", path};
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  if (isGone(place, operation)) return false;
  operation.require(!place.isRoot, ErrorCode::accessDenied);
  operation.require(isFolder(place.host, place.status), ErrorCode::directory);
  std::error_code error;
  operation.require(place.isLink() || fs::is_empty(place.host, error) || error,
                    ErrorCode::directoryNotEmpty);
  removeFromHost(place.host, place.isLink(), operation);
  return true;
}

void SimulatedFiles::rename(std::u16string_view from, std::u16string_view to,
                            bool replaceExisting) {
  Operation const operation{"rename", from};
  auto const source = tree_.find(absolute(from));
  auto const target = tree_.find(absolute(to));
  requireOwnWay(operation, source, path_grammar::parent(absolute(from)));
  requireOwnWay(operation, target, path_grammar::parent(absolute(to)));
  operation.existing(source);
  operation.reachable(target);
  operation.require(!source.isRoot && !target.isRoot, ErrorCode::accessDenied);
  operation.require(tree_.sameVolume(absolute(from), absolute(to)), ErrorCode::notSameDevice);
  bool const changesCaseOnly = target.exists() && isSameEntry(source, target);
  if (target.exists() && !changesCaseOnly) {
    operation.require(replaceExisting, ErrorCode::alreadyExists);
    operation.require(
        !isFolder(target.host, target.status) && !isFolder(source.host, source.status),
        ErrorCode::accessDenied);
    operation.require(target.isLink() || !isReadOnly(target.status), ErrorCode::accessDenied);
  }
  // Hosts have different errors for it.
  operation.require(!isBelow(target.host, source.host), ErrorCode::invalidParameter);
  // The entry was found under its old spelling.
  auto const spelled = toHostName(path_grammar::fileName(absolute(to)));
  std::error_code error;
  fs::rename(source.host, changesCaseOnly ? source.host.parent_path() / spelled : target.host,
             error);
  operation.check(error);
}

void SimulatedFiles::setAttributes(std::u16string_view path, FileAttributes const& attributes) {
  Operation const operation{"change the attributes of", path};
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  operation.require(fs::is_regular_file(operation.existing(place).status), ErrorCode::accessDenied);
  constexpr auto everybody =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  std::error_code error;
  if (attributes.written != 0) {
    fs::last_write_time(place.host, hostTime(attributes.written), error);
    operation.check(error);
  }
  if (attributes.isReadOnly == isReadOnly(place.status)) return;
  fs::permissions(place.host, attributes.isReadOnly ? everybody : fs::perms::owner_write,
                  attributes.isReadOnly ? fs::perm_options::remove : fs::perm_options::add, error);
  operation.check(error);
}

std::optional<Link> SimulatedFiles::link(std::u16string_view path) {
  Operation const operation{"read the link", path};
  auto const place = tree_.find(absolute(path));
  if (isNowhere(place) || !operation.existing(place).isLink()) return std::nullopt;
  std::error_code error;
  auto const target = fs::read_symlink(place.host, error);
  operation.check(error);
  return Link{tree_.machineName(target), isFolder(place.host, place.status), false};
}

void SimulatedFiles::createLink(std::u16string_view path, Link const& link) {
  Operation const operation{"make the link", path};
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  operation.require(!operation.reachable(place).exists(), ErrorCode::alreadyExists);
  std::error_code error;
  fs::create_symlink(tree_.hostName(link.target), place.host, error);
  operation.check(error);
}

UString SimulatedFiles::currentDirectory() {
  return currentFolder_;
}

bool SimulatedFiles::setCurrentDirectory(std::u16string_view path) {
  auto folder = absolute(path);
  auto const place = tree_.findTarget(folder);
  if (!place.exists() || !fs::is_directory(place.status)) return false;
  currentFolder_ = std::move(folder);
  return true;
}

std::optional<FileVersion> SimulatedFiles::fileVersion(std::u16string_view path) {
  auto const place = tree_.findTarget(absolute(path));
  if (!place.exists() || !fs::is_regular_file(place.status)) return std::nullopt;
  std::ifstream file(place.host, std::ios::binary);
  return readVersionResource(file);
}

std::unique_ptr<FileLock> SimulatedFiles::lock(std::u16string_view path,
                                               std::chrono::milliseconds limit) {
  Operation const operation{"lock", path};
  auto const place = tree_.find(absolute(path));
  requireOwnWay(operation, place, path_grammar::parent(absolute(path)));
  if (operation.reachable(place).exists())
    operation.require(fs::is_regular_file(place.status), ErrorCode::accessDenied);
  auto const end = std::chrono::steady_clock::now() + limit;
  return operation.run([&] {
    auto result = std::make_unique<HostLock>(place.host);
    while (!result->tryLock()) {
      operation.require(std::chrono::steady_clock::now() < end, ErrorCode::timeout);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return result;
  });
}

}  // namespace machine::simulated
