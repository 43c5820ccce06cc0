#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"
#include "machine/files.hpp"

namespace fl::filesystem {

/// One entry met on a walk; valid until the walk moves on.
class REGISTRATION_API directory_entry {
 public:
  std::u16string_view file_name() const { return name_; }
  bool is_directory() const { return isDirectory_; }
  /// A symbolic link or junction; never entered.
  bool is_link() const { return isLink_; }
  /// Full path: the walk's root joined with the names down to this entry.
  Path path() const;

 private:
  friend class recursive_directory_walk;
  std::u16string_view root_;   ///< as the walk was given it
  std::u16string_view below_;  ///< the folders between root and name
  std::u16string_view name_;
  bool isDirectory_ = false;
  bool isLink_ = false;
};

/// Visits every entry below a folder, at all depths, a folder before its content. Links are
/// visited, never entered. Memory grows with the depth only.
class REGISTRATION_API recursive_directory_walk {
 public:
  /// Throws machine::SystemError when `root` cannot be read.
  explicit recursive_directory_walk(Path const& root);
  ~recursive_directory_walk();
  recursive_directory_walk(recursive_directory_walk const&) = delete;
  recursive_directory_walk& operator=(recursive_directory_walk const&) = delete;

  /// The next entry; null at the end. Throws machine::SystemError when a folder on the way cannot
  /// be read, or not to its end; the next call goes on behind that folder.
  directory_entry const* next();

 private:
  struct Level {
    std::unique_ptr<machine::DirectoryStream> names;
    std::size_t folderLength;
  };
  bool advance();
  bool readName(machine::DirectoryEntry& found);
  void describe(machine::DirectoryEntry const& found);
  void enter(std::u16string_view name);
  void open();

  UString root_;
  UString folder_;  ///< where the walk is: one text that grows and shrinks, as `\\?\...`
  std::size_t rootLength_;
  std::vector<Level> levels_;
  directory_entry entry_;
  bool enterBeforeNext_ = false;
};

}  // namespace fl::filesystem
