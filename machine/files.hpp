#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "machine/api.hpp"
#include "machine/foreign_access.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// A moment as the system's file times count it: 100 nanoseconds each since 1601-01-01, UTC. 0
/// where it is not known.
using FileTime = std::uint64_t;

/// What a folder keeps of a file beside its name and content. The other attributes (archive,
/// compressed, ...) are left to the system.
struct FileAttributes {
  bool isReadOnly = false;
  bool isHidden = false;
  bool isSystem = false;
  FileTime created = 0;
  FileTime written = 0;  ///< last

  bool operator==(FileAttributes const&) const = default;
};

/// What a link leads to, so that an equal one can be made.
struct Link {
  UString target;  ///< as the link holds it: absolute, or relative to the link's folder
  bool isDirectory = false;
  bool isJunction = false;  ///< else a symbolic link

  bool operator==(Link const&) const = default;
};

/// What a name in the file system stands for. A link (symbolic link, junction: any reparse point
/// that stands for another name) is described itself, never what it points to.
struct FileStatus {
  bool isDirectory = false;
  bool isLink = false;
  std::uint64_t size = 0;       ///< bytes; 0 for a folder
  FileAttributes attributes{};  ///< of a file; none of a folder or link
};

/// One name in a folder. `name` is valid until the next call on the stream that gave it.
struct DirectoryEntry {
  std::u16string_view name;
  bool isDirectory = false;
  bool isLink = false;
};

/// The names in one folder, in the system's order, without "." and "..".
class DirectoryStream {
 public:
  virtual ~DirectoryStream() = default;
  /// Moves to the next name; false at the end. Throws SystemError.
  virtual bool next(DirectoryEntry& entry) = 0;
};

class FileReader {
 public:
  virtual ~FileReader() = default;
  /// Reads up to buffer.size() bytes; 0 at the end of the file. Throws SystemError.
  virtual std::size_t read(std::span<char> buffer) = 0;
  /// The next read starts so many bytes from the beginning of the file. Throws SystemError.
  virtual void seek(std::uint64_t position) = 0;
  /// What others may do with the open file, whatever its name stands for by now. Throws
  /// SystemError.
  virtual ForeignAccess foreignAccess() = 0;
};

class FileWriter {
 public:
  virtual ~FileWriter() = default;  ///< closes; a failure to close goes unnoticed
  /// Hands all bytes to the system before it returns. Throws SystemError.
  virtual void write(std::string_view bytes) = 0;
  /// Has the system put what was written on the disk. Throws SystemError.
  virtual void flushToDisk() = 0;
  /// Closes and tells whether that worked. REQUIRES: not closed yet.
  virtual void close() = 0;
};

/// A lock held; its destructor lets go. The system does so when the process ends, however it does.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

enum class WriteMode {
  truncate,  ///< an existing file loses its content
  append,    ///< every write goes to the end of the file
  createNew  ///< an existing file is an error (fileExists)
};

/// Four numbers of a version resource, the most significant first.
using FileVersion = std::array<std::uint16_t, 4>;

/// What Files::claimDirectory found.
enum class Claim {
  made,      ///< nothing of that name
  own,       ///< a folder that nobody else may write
  takenOver  ///< a folder of one's own that others could write, and no longer can
};

/// Files and folders. Paths are Windows paths (UTF-16, drives, UNC, "\\?\", both slashes), absolute
/// or relative to the current folder; names are compared without regard to case. Every operation
/// throws SystemError for a failure that its comment does not give another outcome.
///
/// What makes, writes, renames or removes something is not led elsewhere by others: a link on the
/// way is followed only where nobody else can have laid it (machine/host/reach_folder.hpp), and the
/// open folders are asked, not their names. Anything else is an error (untrustedMountPoint), whose
/// text names the link; so is writing to a file that has a second name, a hard link. What only
/// reads follows links wherever they lie.
class Files {
 public:
  virtual ~Files() = default;

  /// nullopt when nothing of that name exists, or when the name cannot exist.
  virtual std::optional<FileStatus> status(std::u16string_view path) = 0;
  virtual std::unique_ptr<DirectoryStream> openDirectory(std::u16string_view path) = 0;
  virtual std::unique_ptr<FileReader> openForReading(std::u16string_view path) = 0;
  virtual std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) = 0;
  /// Makes one folder. An existing folder is fine; missing parents are an error. Where others may
  /// make names too, it gets an access list of its own: they may read it and what is in it, and not
  /// write.
  virtual void createDirectory(std::u16string_view path) = 0;
  /// Makes one folder that others may read and not write, wherever it lies. One that is there and
  /// belongs to another account, or may be replaced in the folder above, is an error
  /// (untrustedMountPoint, its text says which); the rights of one's own are corrected.
  virtual Claim claimDirectory(std::u16string_view path) = 0;
  /// What others may do with the file or folder of this name, a link itself.
  virtual ForeignAccess foreignAccess(std::u16string_view path) = 0;
  /// Removes one file, read-only or not, or a link to a file. False when it does not exist.
  virtual bool removeFile(std::u16string_view path) = 0;
  /// Removes an empty folder, or a link to a folder (what it points to stays). False when it does
  /// not exist.
  virtual bool removeDirectory(std::u16string_view path) = 0;
  /// Renames or moves within a volume. Without `replaceExisting` an existing target is an error.
  virtual void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) = 0;
  /// Sets a file's attributes; a time of 0 stays as it is. A folder or link is an error
  /// (accessDenied). A file system may keep a time less exactly, or not at all.
  virtual void setAttributes(std::u16string_view path, FileAttributes const& attributes) = 0;
  /// Sets the read-only attribute alone.
  REGISTRATION_API void setReadOnly(std::u16string_view path, bool readOnly);
  /// What the link at `path` leads to. nullopt for what is no link, and for a link of a kind that
  /// createLink cannot make.
  virtual std::optional<Link> link(std::u16string_view path) = 0;
  /// Makes a link; an existing name is an error (alreadyExists). What it leads to need not exist.
  virtual void createLink(std::u16string_view path, Link const& link) = 0;
  virtual UString currentDirectory() = 0;
  /// False when the folder does not exist or cannot be entered.
  virtual bool setCurrentDirectory(std::u16string_view path) = 0;
  /// The fixed file version of a program's or library's version resource; nullopt when the file
  /// cannot be read or carries none.
  virtual std::optional<FileVersion> fileVersion(std::u16string_view path) = 0;
  /// Locks a file against every other lock of it, in this process and in others; it is made when
  /// missing, stays, and may be read and written all the same. Waits up to `limit`, then it is an
  /// error (timeout). A lock of its own file beside the data is the one to use for a file that is
  /// replaced. The file is for administrators and who makes it only, so that nobody else can hold
  /// it; one that others may open is made so, or an error (untrustedMountPoint) when it belongs to
  /// another account.
  virtual std::unique_ptr<FileLock> lock(std::u16string_view path,
                                         std::chrono::milliseconds limit) = 0;
};

}  // namespace machine
