#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"
#include "machine/files.hpp"

namespace install::cpputil {

/// A zip file that is damaged, hostile, or uses what this reader does not take. The text names the
/// file and, where it is about one, the entry.
class REGISTRATION_API zip_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How large an archive may be. Deflate alone packs a thousand bytes into one, so that a small file
/// could fill any disk.
struct zip_limits {
  std::uint64_t total_size = std::uint64_t{4} << 30;  ///< bytes of all entries, unpacked
  std::uint64_t ratio = 200;  ///< of total size to the archive's, once it is more than 16 MiB
};

/// One file or folder in an archive.
struct zip_entry {
  std::string name;  ///< "folder/file", UTF-8; a folder without a slash at its end
  bool is_directory = false;
  bool is_deflated = false;
  std::uint16_t flags = 0;
  std::uint32_t crc = 0;
  std::uint32_t packed_size = 0;
  std::uint32_t size = 0;
  std::uint32_t header_offset = 0;
  std::uint64_t data_offset = 0;
};

/// A zip file on the current machine, read through zlib; the container is read here because no
/// library that does so is packaged for the Windows compiler. Format: PKWARE, "APPNOTE.TXT - .ZIP
/// File Format Specification", version 6.3.10; its section numbers stand in the source.
///
/// Taken are stored and deflated files and folders of one volume, below 4 GiB. All the archive says
/// of itself is checked before anything is unpacked, and refused are: names that lead out of the
/// target folder or that Windows would take for others (absolute ones, "..", backslashes, drives
/// and alternate data streams, device names, dots and blanks at a name's end), names that differ in
/// case only, names of more than 2,000 UTF-16 units, links, encryption, headers that
/// disagree or overlap, sizes beyond the limits, a directory of more than 32 MiB, more than 262,144
/// files and folders, and files that are cut short.
class REGISTRATION_API zip_archive {
 public:
  /// Throws zip_error, and what the machine throws for a file that cannot be read.
  explicit zip_archive(fl::filesystem::Path const& file, zip_limits const& limits = {});
  /// A file that is open already, at any position, and has `size` bytes. All is read from it,
  /// whatever `file`, its name for error texts, stands for by then.
  zip_archive(fl::filesystem::Path const& file, std::unique_ptr<machine::FileReader> opened,
              std::uint64_t size, zip_limits const& limits = {});
  ~zip_archive();
  zip_archive(zip_archive const&) = delete;
  zip_archive& operator=(zip_archive const&) = delete;

  std::vector<zip_entry> const& entries() const { return entries_; }

  /// The content of a small file. Throws zip_error when it is missing, larger than `limit` or
  /// damaged.
  std::string read(std::string_view name, std::uint32_t limit);

  /// Unpacks everything into a folder that does not exist yet; when anything fails, it is gone
  /// again. Each file must have the size and the checksum that the archive gives it.
  void extract(fl::filesystem::Path const& folder);

 private:
  void readDirectory(zip_limits const& limits);
  template <typename Sink>
  void unpack(zip_entry const& entry, Sink&& sink);
  [[noreturn]] void refuse(std::string const& reason) const;
  [[noreturn]] void refuse(zip_entry const& entry, std::string const& reason) const;

  fl::filesystem::Path file_;
  std::unique_ptr<machine::FileReader> reader_;
  std::uint64_t size_;
  std::vector<zip_entry> entries_;
};

}  // namespace install::cpputil
