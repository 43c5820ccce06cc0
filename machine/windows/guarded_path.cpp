#include "machine/windows/guarded_path.hpp"

#include <aclapi.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "machine/path_grammar.hpp"
#include "machine/windows/security.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

namespace grammar = path_grammar;

constexpr ULONG shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// NtCreateFile of the layer below names a file by the open folder that it lies in, which no call of
// the documented one does. Microsoft, "NtCreateFile function (winternl.h)".
constexpr ULONG ownOptions = FILE_SYNCHRONOUS_IO_NONALERT | FILE_OPEN_FOR_BACKUP_INTENT;

UniqueHandle openIn(HANDLE folder, UString const& name, Opening const& opening, ULONG options) {
  UString units = name;
  auto const size = static_cast<USHORT>(units.size() * sizeof(char16_t));
  UNICODE_STRING text{size, size, wideBuffer(units)};
  OBJECT_ATTRIBUTES attributes{};
  attributes.Length = sizeof attributes;
  attributes.RootDirectory = folder;
  attributes.ObjectName = &text;
  attributes.Attributes = OBJ_CASE_INSENSITIVE;
  attributes.SecurityDescriptor = opening.descriptor;
  IO_STATUS_BLOCK answer{};
  HANDLE file = nullptr;
  NTSTATUS const status =
      NtCreateFile(&file, opening.access | SYNCHRONIZE | FILE_READ_ATTRIBUTES, &attributes, &answer,
                   nullptr, FILE_ATTRIBUTE_NORMAL, opening.share, opening.disposition,
                   opening.options | options | ownOptions, nullptr, 0);
  if (status < 0) {
    SetLastError(RtlNtStatusToDosError(status));
    return nullptr;
  }
  return UniqueHandle(file);
}

bool isDirectoryOpen(HANDLE file) {
  FILE_STANDARD_INFO info{};
  return GetFileInformationByHandleEx(file, FileStandardInfo, &info, sizeof info) &&
         info.Directory != FALSE;
}

UString finalPath(HANDLE file) {
  return textFrom([&](wchar_t* buffer, DWORD size) {
    return GetFinalPathNameByHandleW(file, buffer, size, VOLUME_NAME_DOS);
  });
}

/// For messages: `\\?\C:\` -> `C:`
std::string shownName(UString path) {
  if (path.starts_with(u"\\\\?\\UNC\\")) {
    path.replace(0, 7, u"\\");
  } else if (path.starts_with(u"\\\\?\\")) {
    path.erase(0, 4);
  }
  while (!path.empty() && path.back() == u'\\') path.pop_back();
  return toUtf8(path);
}

/// For reachFolder.
class WindowsSystem {
 public:
  using Path = UString;
  using Handle = UniqueHandle;
  using Folder = GuardedPath::Folder;
  struct Entry {
    Handle handle;
    std::string name;
    bool isLink = false;
    ForeignAccess access{};
  };

  explicit WindowsSystem(std::string_view operation) : operation_(operation) {}

  static std::vector<Path> names(Path const& path) {
    auto const components = grammar::components(path);
    return {components.begin(), components.end()};
  }

  Folder root(Path const& path) const {
    UString const root = path.substr(0, grammar::rootLength(path));
    auto const open = [&](DWORD access) {
      return UniqueHandle(orNull(CreateFileW(wide(root), access, shareAll, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    };
    auto handle = open(FILE_READ_ATTRIBUTES | FILE_TRAVERSE | READ_CONTROL);
    // Of a share the names below may be all that this account sees.
    if (!handle) handle = open(FILE_READ_ATTRIBUTES);
    if (!handle) handle = open(0);
    if (!handle) fail(root, GetLastError());
    auto access = foreignAccessOf(handle.get(), root);
    return {std::move(handle), shownName(root), std::move(access), {}};
  }

  Entry open(Folder const& folder, Path const& name) const {
    auto const path = folder.name + "\\" + toUtf8(name);
    auto const tried = [&](ACCESS_MASK access) {
      return openIn(folder.handle.get(), name, {access}, FILE_OPEN_REPARSE_POINT);
    };
    auto handle = tried(FILE_TRAVERSE | READ_CONTROL);
    if (!handle && GetLastError() == ERROR_ACCESS_DENIED) handle = tried(0);
    if (!handle) fail(toUtf16(path), GetLastError());
    bool const isLink = isLinkOpen(handle.get());
    if (!isLink && !isDirectoryOpen(handle.get())) fail(toUtf16(path), ERROR_PATH_NOT_FOUND);
    auto access = foreignAccessOf(handle.get(), toUtf16(path));
    return {std::move(handle), path, isLink, std::move(access)};
  }

  Path target(Folder const& folder, Path const& name) const {
    auto const behind = openIn(folder.handle.get(), name, {}, 0);
    if (!behind) fail(toUtf16(folder.name) + u'\\' + name, GetLastError());
    return finalPath(behind.get());
  }

  static Path joined(Path const& folder, Path const& name) { return grammar::join(folder, name); }

  [[noreturn]] void failTooManyLinks(Path const& path) const {
    fail(path, ERROR_CANT_RESOLVE_FILENAME);
  }

 private:
  /// A folder on the way that is missing is no missing file.
  [[noreturn]] void fail(UString const& path, DWORD error) const {
    throw systemError(operation_, path,
                      error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error);
  }

  std::string_view operation_;
};

/// The folder, where no link at all is on the way: the open folder's own name tells. Nothing where
/// it has another one, by a link, a short name or a drive that stands for a folder.
std::optional<GuardedPath::Folder> folderWithoutLinks(UString const& path) {
  UniqueHandle handle(orNull(CreateFileW(
      wide(path), FILE_READ_ATTRIBUTES | FILE_TRAVERSE | READ_CONTROL, shareAll, nullptr,
      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr)));
  if (!handle || isLinkOpen(handle.get()) || !isDirectoryOpen(handle.get())) return std::nullopt;
  auto const isSeparated = [](UString const& text) { return text.ends_with(u'\\'); };
  UString own = finalPath(handle.get());
  UString asked = path;
  while (isSeparated(own)) own.pop_back();
  while (isSeparated(asked)) asked.pop_back();
  if (!equalIgnoringCase(own, asked)) return std::nullopt;
  auto access = foreignAccessOf(handle.get(), path);
  return GuardedPath::Folder{std::move(handle), shownName(own), std::move(access), {}};
}

UString lastName(UString const& path) {
  auto const names = grammar::components(path);
  return names.empty() ? UString() : UString(names.back());
}

bool isSameFile(HANDLE a, HANDLE b) {
  BY_HANDLE_FILE_INFORMATION one{};
  BY_HANDLE_FILE_INFORMATION other{};
  return GetFileInformationByHandle(a, &one) && GetFileInformationByHandle(b, &other) &&
         one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

/// Content that is not in the file itself, but got by its name: kept by a cloud service,
/// compressed.
bool isReparsePointOpen(HANDLE file) {
  FILE_ATTRIBUTE_TAG_INFO info{};
  return GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) &&
         (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool hasSecondName(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION info{};
  return GetFileInformationByHandle(file, &info) && info.nNumberOfLinks > 1 &&
         (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// Takes over nothing from the folder above.
void setAccess(std::string_view operation, std::u16string_view path, HANDLE file, bool isReadable) {
  auto const descriptor = descriptorFrom(ownAccess(isReadable));
  BOOL isPresent = FALSE;
  BOOL isDefaulted = FALSE;
  PACL list = nullptr;
  if (!GetSecurityDescriptorDacl(descriptor.get(), &isPresent, &list, &isDefaulted)) {
    throw systemError(operation, path);
  }
  DWORD const error = SetSecurityInfo(
      file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
      nullptr, nullptr, list, nullptr);
  if (error != ERROR_SUCCESS) {
    throw systemError(operation, path, error);
  }
}

}  // namespace

GuardedPath::GuardedPath(std::string_view operation, std::u16string_view path)
    : operation_(operation), path_(path), full_(verbatimPath(operation, path)) {
  while (full_.size() > grammar::rootLength(full_) && full_.ends_with(u'\\')) full_.pop_back();
  name_ = lastName(full_);
  UString const folder(grammar::parent(full_));
  auto direct = folderWithoutLinks(folder);
  folder_ = direct ? std::move(*direct) : goneThrough();
}

GuardedPath::Folder GuardedPath::goneThrough() const {
  WindowsSystem system(operation_);
  return host::reachFolder(system, UString(grammar::parent(full_)));
}

std::string GuardedPath::shown() const {
  return folder_.name + "\\" + toUtf8(name_);
}

void GuardedPath::requireTrustedFolder() {
  folder_ = goneThrough();
  auto const weakness = folder_.weaknessWithin();
  if (!weakness.empty()) throw UntrustedPath(weakness);
}

UniqueHandle GuardedPath::open(Opening const& opening) const {
  return openIn(folder_.handle.get(), name_, opening, FILE_OPEN_REPARSE_POINT);
}

UniqueHandle GuardedPath::openContent(Opening const& opening) {
  constexpr int mostLinks = 40;
  for (int links = 0; links < mostLinks; ++links) {
    auto file = open(opening);
    if (!file) throw systemError(operation_, path_);
    if (!isReparsePointOpen(file.get())) {
      if (hasSecondName(file.get())) {
        throw UntrustedPath(shown() + " has a second name (a hard link), which may be anywhere");
      }
      return file;
    }
    if (!isLinkOpen(file.get())) {
      auto content = openIn(folder_.handle.get(), name_, opening, 0);
      if (!content) throw systemError(operation_, path_);
      if (!isSameFile(file.get(), content.get())) throw UntrustedPath(shown() + " was exchanged");
      return content;
    }
    folder_ = goneThrough();
    WindowsSystem const system(operation_);
    auto const entry = system.open(folder_, name_);
    host::requireOwnLink(folder_, entry);
    auto given = std::move(path_);
    *this = GuardedPath(operation_, system.target(folder_, name_));
    path_ = std::move(given);
  }
  throw systemError(operation_, path_, ERROR_CANT_RESOLVE_FILENAME);
}

bool isLinkOpen(HANDLE file) {
  FILE_ATTRIBUTE_TAG_INFO info{};
  return GetFileInformationByHandleEx(file, FileAttributeTagInfo, &info, sizeof info) &&
         (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(info.ReparseTag);
}

bool removeEntry(GuardedPath const& path, ULONG options) {
  return retryingWhileHeld([&] {
    auto const file = path.open({DELETE, FILE_OPEN, options});
    // The name goes at once, also while others that share it have the file open. Windows 10, 1607.
    struct {
      ULONG flags;
    } now{0x1 | 0x2};  // FILE_DISPOSITION_DELETE, FILE_DISPOSITION_POSIX_SEMANTICS
    constexpr auto dispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    if (!file || SetFileInformationByHandle(file.get(), dispositionEx, &now, sizeof now)) {
      return file != nullptr;
    }
    DWORD const error = GetLastError();
    if (error != ERROR_INVALID_PARAMETER && error != ERROR_NOT_SUPPORTED &&
        error != ERROR_INVALID_FUNCTION && error != ERROR_INVALID_LEVEL &&
        error != ERROR_CALL_NOT_IMPLEMENTED) {
      return false;
    }
    FILE_DISPOSITION_INFO atEnd{TRUE};
    return SetFileInformationByHandle(file.get(), FileDispositionInfo, &atEnd, sizeof atEnd) !=
           FALSE;
  });
}

bool renameTo(GuardedPath const& from, GuardedPath const& to, bool replaceExisting) {
  auto const& name = to.name();
  auto const size = name.size() * sizeof(char16_t);
  std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFORMATION) + size);
  auto* const information = reinterpret_cast<FILE_RENAME_INFORMATION*>(buffer.data());
  information->ReplaceIfExists = replaceExisting;
  information->RootDirectory = to.folder().handle.get();
  information->FileNameLength = static_cast<ULONG>(size);
  name.copy(reinterpret_cast<char16_t*>(information->FileName), name.size());
  return retryingWhileHeld([&] {
    auto const file = from.open({DELETE});
    if (!file) return false;
    IO_STATUS_BLOCK answer{};
    NTSTATUS const status = NtSetInformationFile(
        file.get(), &answer, information, static_cast<ULONG>(buffer.size()), FileRenameInformation);
    if (status >= 0) return true;
    DWORD const error = RtlNtStatusToDosError(status);
    // Denied is also what the system answers while somebody has the file in the way open.
    SetLastError(error == ERROR_ACCESS_DENIED && replaceExisting && !to.open({DELETE}) &&
                         GetLastError() == ERROR_SHARING_VIOLATION
                     ? ERROR_SHARING_VIOLATION
                     : error);
    return false;
  });
}

bool makeFolderIn(GuardedPath const& path, Protection protection) {
  bool const isPrivate = protection == Protection::isPrivate;
  auto const descriptor =
      isPrivate || path.isAmongOthers() ? descriptorFrom(ownAccess(!isPrivate)) : nullptr;
  return path.open({FILE_LIST_DIRECTORY, FILE_CREATE, FILE_DIRECTORY_FILE, descriptor.get()}) !=
         nullptr;
}

void requireDisk(std::string_view operation, std::u16string_view path, HANDLE file) {
  if (GetFileType(file) != FILE_TYPE_DISK) {
    throw systemError(operation, path, ERROR_INVALID_NAME);
  }
}

UniqueHandle openForWriting(std::string_view operation, std::u16string_view path, WriteMode mode) {
  // Without the right to write anywhere else, the system puts every write at the end.
  ACCESS_MASK const access =
      mode == WriteMode::append ? FILE_GENERIC_WRITE & ~DWORD{FILE_WRITE_DATA} : GENERIC_WRITE;
  GuardedPath guarded(operation, path);
  if (!path.empty() && grammar::isSeparator(path.back())) {
    throw systemError(operation, path, ERROR_INVALID_NAME);
  }
  if (mode == WriteMode::createNew) {
    auto made = guarded.open({access, FILE_CREATE, FILE_NON_DIRECTORY_FILE});
    if (made) return made;
    DWORD const error = GetLastError();
    throw systemError(operation, path, error == ERROR_ALREADY_EXISTS ? ERROR_FILE_EXISTS : error);
  }
  auto file = guarded.openContent({access, FILE_OPEN_IF, FILE_NON_DIRECTORY_FILE});
  requireDisk(operation, path, file.get());
  FILE_END_OF_FILE_INFO empty{};
  // Not before it is known what is truncated.
  if (mode == WriteMode::truncate &&
      !SetFileInformationByHandle(file.get(), FileEndOfFileInfo, &empty, sizeof empty)) {
    throw systemError(operation, path);
  }
  return file;
}

void claimFolder(std::string_view operation, std::u16string_view path, bool& had) {
  GuardedPath guarded(operation, path);
  guarded.requireTrustedFolder();
  auto const folder = guarded.open({READ_CONTROL | WRITE_DAC, FILE_OPEN, FILE_DIRECTORY_FILE});
  if (!folder) throw systemError(operation, path);
  if (isLinkOpen(folder.get())) throw UntrustedPath(guarded.shown() + " is a link");
  auto const access = foreignAccessOf(folder.get(), path);
  if (!access.owner.empty()) throw UntrustedPath(guarded.shown() + " " + weaknessOf(access));
  had = access.any();
  if (had) setAccess(operation, path, folder.get(), true);
}

UniqueHandle openLockFile(std::string_view operation, std::u16string_view path) {
  GuardedPath guarded(operation, path);
  auto const descriptor = descriptorFrom(ownAccess(false));
  auto file = guarded.openContent({GENERIC_READ | GENERIC_WRITE | READ_CONTROL | WRITE_DAC,
                                   FILE_OPEN_IF, FILE_NON_DIRECTORY_FILE, descriptor.get()});
  auto const access = foreignAccessOf(file.get(), path);
  if (!access.owner.empty()) throw UntrustedPath(guarded.shown() + " " + weaknessOf(access));
  setAccess(operation, path, file.get(), false);
  return file;
}

}  // namespace machine::windows
