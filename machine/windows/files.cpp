#include <windows.h>

#include <winioctl.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "machine/host/own_way.hpp"
#include "machine/path_grammar.hpp"
#include "machine/reparse_data.hpp"
#include "machine/windows/file_lock.hpp"
#include "machine/windows/guarded_path.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/security.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// The numbers in one count its bytes in 16 bits; the system makes some room.
constexpr DWORD largestVersionResource = 1 << 20;

/// The codes for a name that stands for nothing, among them those for a name that cannot exist and
/// for a drive or server that is not there.
bool meansNothingThere(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_NOT_READY:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return true;
    default:
      return false;
  }
}

/// A reparse point stands for another name only when its tag says so; the others (files kept by a
/// cloud service, deduplicated or compressed ones) are files and folders like any.
bool isLink(DWORD attributes, DWORD reparseTag) {
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(reparseTag);
}

bool isDirectory(DWORD attributes) {
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// What the folder's list says of a path. It tells a reparse point's tag, and it is there for files
/// that nobody may open, such as the system's page file.
std::optional<WIN32_FIND_DATAW> listedEntry(UString path) {
  while (path.size() > path_grammar::rootLength(path) && path_grammar::isSeparator(path.back())) {
    path.pop_back();
  }
  WIN32_FIND_DATAW data;
  UniqueFind const find(orNull(FindFirstFileW(wide(path), &data)));
  return find ? std::optional(data) : std::nullopt;
}

FileTime fileTime(FILETIME const& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// Of a folder the read-only attribute means something else.
template <class Data>
FileStatus statusOf(Data const& data, bool link) {
  if (isDirectory(data.dwFileAttributes)) return {true, link};
  FileStatus status{false, link, std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow};
  if (link) return status;
  auto const has = [&](DWORD attribute) { return (data.dwFileAttributes & attribute) != 0; };
  status.attributes = {has(FILE_ATTRIBUTE_READONLY), has(FILE_ATTRIBUTE_HIDDEN),
                       has(FILE_ATTRIBUTE_SYSTEM), fileTime(data.ftCreationTime),
                       fileTime(data.ftLastWriteTime)};
  return status;
}

FileStatus statusOf(WIN32_FIND_DATAW const& data) {
  return statusOf(data, isLink(data.dwFileAttributes, data.dwReserved0));
}

FileStatus statusOf(WIN32_FILE_ATTRIBUTE_DATA const& data) {
  return statusOf(data, false);
}

bool directoryExists(UString const& path) {
  DWORD const attributes = GetFileAttributesW(wide(path));
  return attributes != INVALID_FILE_ATTRIBUTES && isDirectory(attributes);
}

class WindowsDirectoryStream final : public DirectoryStream {
 public:
  explicit WindowsDirectoryStream(std::u16string_view path) : path_(path) {
    UString const pattern = systemPath("list", patternFor(path));
    find_.reset(
        orNull(FindFirstFileExW(wide(pattern), FindExInfoBasic, &data_, FindExSearchNameMatch,
                                nullptr, FIND_FIRST_EX_LARGE_FETCH)));
    hasFirst_ = find_ != nullptr;
    DWORD const error = GetLastError();
    // A drive's root has no "." and "..": when it is empty, nothing at all is found.
    if (!find_ && !(error == ERROR_FILE_NOT_FOUND && directoryExists(systemPath("list", path)))) {
      throw systemError("list", path, error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error);
    }
  }

  bool next(DirectoryEntry& entry) override {
    while (advance()) {
      if (!isDotOrDotDot(data_.cFileName)) {
        entry.name = unitsOf(data_.cFileName);
        entry.isDirectory = isDirectory(data_.dwFileAttributes);
        entry.isLink = isLink(data_.dwFileAttributes, data_.dwReserved0);
        return true;
      }
    }
    return false;
  }

 private:
  static UString patternFor(std::u16string_view path) {
    if (path.empty()) {
      throw systemError("list", path, ERROR_PATH_NOT_FOUND);
    }
    bool const separated = path_grammar::isSeparator(path.back()) || path.back() == u':';
    return UString(path) + (separated ? u"*" : u"\\*");
  }

  static bool isDotOrDotDot(wchar_t const* name) {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
  }

  bool advance() {
    if (hasFirst_) {
      hasFirst_ = false;
      return true;
    }
    if (!find_) {
      return false;
    }
    if (FindNextFileW(find_.get(), &data_)) {
      return true;
    }
    DWORD const error = GetLastError();
    find_.reset();
    if (error != ERROR_NO_MORE_FILES) {
      throw systemError("list", path_, error);
    }
    return false;
  }

  UString path_;
  UniqueFind find_;
  WIN32_FIND_DATAW data_;
  bool hasFirst_;  ///< data_ holds the first name, not handed out yet
};

UniqueHandle openForReading(std::u16string_view path) {
  constexpr auto operation = "open for reading";
  UniqueHandle file(orNull(CreateFileW(wide(systemPath(operation, path)), GENERIC_READ, shareAll,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
  if (!file) {
    throw systemError(operation, path);
  }
  requireDisk(operation, path, file.get());
  return file;
}

DWORD chunkSize(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

class WindowsFileReader final : public FileReader {
 public:
  explicit WindowsFileReader(std::u16string_view path)
      : path_(path), file_(windows::openForReading(path)) {}

  std::size_t read(std::span<char> buffer) override {
    DWORD count = 0;
    if (!ReadFile(file_.get(), buffer.data(), chunkSize(buffer.size()), &count, nullptr)) {
      throw systemError("read", path_);
    }
    return count;
  }

  void seek(std::uint64_t position) override {
    LARGE_INTEGER target;
    target.QuadPart = static_cast<LONGLONG>(position);
    if (!SetFilePointerEx(file_.get(), target, nullptr, FILE_BEGIN)) {
      throw systemError("seek in", path_);
    }
  }

  ForeignAccess foreignAccess() override { return foreignAccessOf(file_.get(), path_); }

 private:
  UString path_;
  UniqueHandle file_;
};

class WindowsFileWriter final : public FileWriter {
 public:
  WindowsFileWriter(std::u16string_view path, WriteMode mode)
      : path_(path), file_(openForWriting("open for writing", path, mode)) {}

  void write(std::string_view bytes) override {
    while (!bytes.empty()) {
      DWORD count = 0;
      if (!WriteFile(file_.get(), bytes.data(), chunkSize(bytes.size()), &count, nullptr)) {
        throw systemError("write", path_);
      }
      bytes.remove_prefix(count);
    }
  }

  void flushToDisk() override {
    if (!FlushFileBuffers(file_.get())) {
      throw systemError("flush", path_);
    }
  }

  void close() override {
    if (!CloseHandle(file_.release())) {
      throw systemError("close", path_);
    }
  }

 private:
  UString path_;
  UniqueHandle file_;
};

/// Takes the read-only attribute away. Nothing when there is none, or that fails.
std::optional<FILE_BASIC_INFO> makeWritable(HANDLE entry) {
  FILE_BASIC_INFO info{};
  if (!entry || !GetFileInformationByHandleEx(entry, FileBasicInfo, &info, sizeof info) ||
      (info.FileAttributes & FILE_ATTRIBUTE_READONLY) == 0) {
    return std::nullopt;
  }
  auto writable = info;
  writable.FileAttributes &= ~DWORD{FILE_ATTRIBUTE_READONLY};
  if (writable.FileAttributes == 0) writable.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  bool const done = SetFileInformationByHandle(entry, FileBasicInfo, &writable, sizeof writable);
  return done ? std::optional(info) : std::nullopt;
}

/// Removes a file or a folder; a read-only attribute is taken away first, and put back when that
/// did not help. 0, or the error.
DWORD remove(GuardedPath const& entry, ULONG options) {
  if (removeEntry(entry, options)) return ERROR_SUCCESS;
  DWORD const error = GetLastError();
  if (error != ERROR_ACCESS_DENIED) return error;
  auto const file = entry.open({FILE_WRITE_ATTRIBUTES, FILE_OPEN, options});
  auto const before = makeWritable(file.get());
  if (!before) return error;
  if (removeEntry(entry, options)) return ERROR_SUCCESS;
  DWORD const laterError = GetLastError();
  auto info = *before;
  SetFileInformationByHandle(file.get(), FileBasicInfo, &info, sizeof info);
  return laterError;
}

/// False when there was nothing.
bool removeAt(std::string_view operation, std::u16string_view path, ULONG options) {
  if (pathProblem(path)) {
    return false;
  }
  try {
    DWORD const error = remove(GuardedPath(operation, path), options);
    if (error == ERROR_SUCCESS) return true;
    throw systemError(operation, path, error);
  } catch (SystemError const& error) {
    if (meansNothingThere(error.code())) return false;
    throw;
  }
}

class WindowsFileLock final : public FileLock {
 public:
  WindowsFileLock(std::u16string_view path, std::chrono::milliseconds limit)
      : file_(openLockFile("lock", path)) {
    requireDisk("lock", path, file_.get());
    auto const end = std::chrono::steady_clock::now() + limit;
    while (!tryLock(file_.get())) {
      if (GetLastError() != ERROR_LOCK_VIOLATION) {
        throw systemError("lock", path);
      }
      if (std::chrono::steady_clock::now() >= end) {
        throw SystemError("lock", path, ErrorCode::timeout);
      }
      Sleep(5);
    }
  }

 private:
  UniqueHandle file_;
};

std::optional<FileVersion> versionIn(std::string const& resource) {
  VS_FIXEDFILEINFO* info = nullptr;
  UINT size = 0;
  void* found = nullptr;
  if (!VerQueryValueW(resource.data(), L"\\", &found, &size) || size < sizeof *info) {
    return std::nullopt;
  }
  info = static_cast<VS_FIXEDFILEINFO*>(found);
  if (info->dwSignature != VS_FFI_SIGNATURE) {
    return std::nullopt;
  }
  return FileVersion{HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                     HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS)};
}

void createSymbolicLink(std::u16string_view path, Link const& link) {
  if (!CreateSymbolicLinkW(wide(systemPath("make the link", path)), wide(link.target),
                           link.isDirectory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0)) {
    throw systemError("make the link", path);
  }
}

/// A folder that becomes a junction, or goes again.
void createJunction(std::u16string_view path, GuardedPath const& place, Link const& link) {
  if (!makeFolderIn(place, Protection::ofFolder)) {
    throw systemError("make the link", path);
  }
  auto data = junctionData(link.target);
  DWORD size = 0;
  auto file = place.open({GENERIC_WRITE, FILE_OPEN, FILE_DIRECTORY_FILE});
  if (!file || !DeviceIoControl(file.get(), FSCTL_SET_REPARSE_POINT, data.data(),
                                static_cast<DWORD>(data.size()), nullptr, 0, &size, nullptr)) {
    DWORD const error = GetLastError();
    file.reset();
    removeEntry(place, FILE_DIRECTORY_FILE);
    throw systemError("make the link", path, error);
  }
}

class WindowsFiles final : public Files {
 public:
  std::optional<FileStatus> status(std::u16string_view path) override {
    if (pathProblem(path)) {
      return std::nullopt;
    }
    UString const target = systemPath("look for", path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (GetFileAttributesExW(wide(target), GetFileExInfoStandard, &data)) {
      bool const isReparsePoint = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
      auto const entry = isReparsePoint ? listedEntry(target) : std::nullopt;
      return entry ? statusOf(*entry) : statusOf(data);
    }
    DWORD const error = GetLastError();
    // ERROR_DIRECTORY: the path goes on below a file.
    if (meansNothingThere(error) || error == ERROR_DIRECTORY) {
      return std::nullopt;
    }
    if (error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED) {
      if (auto const entry = listedEntry(target)) {
        return statusOf(*entry);
      }
    }
    throw systemError("look for", path, error);
  }

  std::unique_ptr<DirectoryStream> openDirectory(std::u16string_view path) override {
    return std::make_unique<WindowsDirectoryStream>(path);
  }

  std::unique_ptr<FileReader> openForReading(std::u16string_view path) override {
    return std::make_unique<WindowsFileReader>(path);
  }

  std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) override {
    return refusingUntrusted("open for writing", path,
                             [&] { return std::make_unique<WindowsFileWriter>(path, mode); });
  }

  void createDirectory(std::u16string_view path) override {
    constexpr auto operation = "create the folder";
    UString const target = systemPath(operation, path);
    if (directoryExists(target)) {
      return;
    }
    refusingUntrusted(operation, path, [&] {
      if (!makeFolderIn(GuardedPath(operation, path), Protection::ofFolder)) {
        DWORD const error = GetLastError();
        // Somebody may have been faster.
        if (!directoryExists(target)) throw systemError(operation, path, error);
      }
    });
  }

  Claim claimDirectory(std::u16string_view path) override {
    bool const isThere = directoryExists(systemPath("claim the folder", path));
    createDirectory(path);
    bool hadOthers = false;
    refusingUntrusted("claim the folder", path,
                      [&] { claimFolder("claim the folder", path, hadOthers); });
    if (!isThere) return Claim::made;
    return hadOthers ? Claim::takenOver : Claim::own;
  }

  ForeignAccess foreignAccess(std::u16string_view path) override {
    constexpr auto operation = "look at";
    auto const open = [&](DWORD access) {
      return UniqueHandle(orNull(
          CreateFileW(wide(systemPath(operation, path)), access, shareAll, nullptr, OPEN_EXISTING,
                      FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    };
    auto file = open(READ_CONTROL);
    if (!file && GetLastError() == ERROR_ACCESS_DENIED) file = open(0);
    if (!file) throw systemError(operation, path);
    return foreignAccessOf(file.get(), path);
  }

  bool removeFile(std::u16string_view path) override {
    return refusingUntrusted("remove", path,
                             [&] { return removeAt("remove", path, FILE_NON_DIRECTORY_FILE); });
  }

  bool removeDirectory(std::u16string_view path) override {
    constexpr auto operation = "remove the folder";
    return refusingUntrusted(operation, path,
                             [&] { return removeAt(operation, path, FILE_DIRECTORY_FILE); });
  }

  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override {
    UString const both = UString(from) + u" to " + UString(to);
    refusingUntrusted("rename", both, [&] {
      if (!renameTo(GuardedPath("rename", from), GuardedPath("rename", to), replaceExisting)) {
        throw systemError("rename", both);
      }
    });
  }

  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override {
    constexpr auto operation = "change the attributes of";
    constexpr DWORD ours = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    // One handle for all, to the thing itself: nobody can put a link in its place in between.
    auto const file = refusingUntrusted(operation, path, [&] {
      return GuardedPath(operation, path).open({FILE_WRITE_ATTRIBUTES});
    });
    FILE_BASIC_INFO info{};
    if (!file || !GetFileInformationByHandleEx(file.get(), FileBasicInfo, &info, sizeof info)) {
      throw systemError(operation, path);
    }
    if (isDirectory(info.FileAttributes) || isLinkOpen(file.get())) {
      throw SystemError(operation, path, ErrorCode::accessDenied);
    }
    DWORD const wanted = (attributes.isReadOnly ? FILE_ATTRIBUTE_READONLY : 0) |
                         (attributes.isHidden ? FILE_ATTRIBUTE_HIDDEN : 0) |
                         (attributes.isSystem ? FILE_ATTRIBUTE_SYSTEM : 0);
    // 0 would leave the attributes as they are.
    DWORD const all = (info.FileAttributes & ~ours) | wanted;
    info.FileAttributes = all != 0 ? all : FILE_ATTRIBUTE_NORMAL;
    info.LastAccessTime.QuadPart = info.ChangeTime.QuadPart = 0;  // left as they are
    info.CreationTime.QuadPart = static_cast<LONGLONG>(attributes.created);
    info.LastWriteTime.QuadPart = static_cast<LONGLONG>(attributes.written);
    if (!SetFileInformationByHandle(file.get(), FileBasicInfo, &info, sizeof info)) {
      throw systemError(operation, path);
    }
  }

  std::optional<Link> link(std::u16string_view path) override {
    constexpr auto operation = "read the link";
    auto const present = status(path);
    if (!present || !present->isLink) {
      return std::nullopt;
    }
    UniqueHandle const file(
        orNull(CreateFileW(wide(systemPath(operation, path)), 0, shareAll, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    std::string data(MAXIMUM_REPARSE_DATA_BUFFER_SIZE, '\0');
    DWORD size = 0;
    if (!file || !DeviceIoControl(file.get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, data.data(),
                                  static_cast<DWORD>(data.size()), &size, nullptr)) {
      throw systemError(operation, path);
    }
    auto link = linkIn(std::string_view(data).substr(0, size));
    if (link) link->isDirectory = present->isDirectory;
    return link;
  }

  void createLink(std::u16string_view path, Link const& link) override {
    constexpr auto operation = "make the link";
    if (hasNul(link.target)) {
      throw systemError(operation, path, ERROR_INVALID_NAME);
    }
    refusingUntrusted(operation, path, [&] {
      GuardedPath const place(operation, path);
      link.isJunction ? createJunction(path, place, link) : createSymbolicLink(path, link);
      // Some systems answer with success and make something else, or nothing.
      auto const present = status(path);
      if (!present || !present->isLink) {
        if (link.isJunction) removeEntry(place, FILE_DIRECTORY_FILE);
        throw SystemError(operation, path, ErrorCode::notSupported);
      }
    });
  }

  UString currentDirectory() override {
    UString folder =
        textFrom([](wchar_t* buffer, DWORD size) { return GetCurrentDirectoryW(size, buffer); });
    if (folder.empty()) {
      throw systemError("find the current folder", u"");
    }
    return folder;
  }

  bool setCurrentDirectory(std::u16string_view path) override {
    // As given: the system does not take a verbatim path for a current folder.
    return !pathProblem(path) && SetCurrentDirectoryW(wide(UString(path))) != FALSE;
  }

  std::optional<FileVersion> fileVersion(std::u16string_view path) override {
    if (pathProblem(path) || path.empty()) {
      return std::nullopt;
    }
    // Absolute, because the call looks for a bare name where it looks for libraries.
    UString const target = systemPath("read the version of", fullPath("read the version of", path));
    DWORD ignored = 0;
    DWORD const size = GetFileVersionInfoSizeW(wide(target), &ignored);
    if (size > largestVersionResource) {
      return std::nullopt;
    }
    std::string resource(size, '\0');
    if (size == 0 || !GetFileVersionInfoW(wide(target), 0, size, resource.data())) {
      return std::nullopt;
    }
    return versionIn(resource);
  }

  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override {
    return refusingUntrusted("lock", path,
                             [&] { return std::make_unique<WindowsFileLock>(path, limit); });
  }
};

}  // namespace

std::unique_ptr<Files> makeFiles() {
  return std::make_unique<WindowsFiles>();
}

}  // namespace machine::windows
