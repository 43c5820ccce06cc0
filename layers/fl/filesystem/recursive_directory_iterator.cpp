#include "fl/filesystem/recursive_directory_iterator.hpp"

#include "fl/filesystem/verbatim.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace fl::filesystem {

namespace grammar = machine::path_grammar;

namespace {

/// Room for a long path, so that the folder's text seldom moves.
constexpr std::size_t usualPathLength = 512;

}  // namespace

Path directory_entry::path() const {
  return grammar::join(grammar::join(root_, below_), name_);
}

recursive_directory_walk::recursive_directory_walk(Path const& root)
    : root_(root.ustring()), folder_(verbatim(root)), rootLength_(folder_.size()) {
  folder_.reserve(usualPathLength);
  open();
}

recursive_directory_walk::~recursive_directory_walk() = default;

directory_entry const* recursive_directory_walk::next() {
  if (enterBeforeNext_) {
    enterBeforeNext_ = false;
    enter(entry_.name_);
  }
  return advance() ? &entry_ : nullptr;
}

bool recursive_directory_walk::advance() {
  machine::DirectoryEntry found;
  while (!levels_.empty()) {
    folder_.resize(levels_.back().folderLength);
    if (readName(found)) {
      describe(found);
      return true;
    }
    levels_.pop_back();
  }
  return false;
}

bool recursive_directory_walk::readName(machine::DirectoryEntry& found) {
  try {
    return levels_.back().names->next(found);
  } catch (...) {
    levels_.pop_back();
    throw;
  }
}

void recursive_directory_walk::describe(machine::DirectoryEntry const& found) {
  entry_.root_ = root_;
  entry_.below_ = std::u16string_view(folder_).substr(rootLength_);
  entry_.name_ = found.name;
  entry_.isDirectory_ = found.isDirectory;
  entry_.isLink_ = found.isLink;
  enterBeforeNext_ = found.isDirectory && !found.isLink;
}

void recursive_directory_walk::enter(std::u16string_view name) {
  if (!grammar::isSeparator(folder_.back())) {
    folder_ += u'\\';
  }
  folder_ += name;
  open();
}

void recursive_directory_walk::open() {
  levels_.push_back({machine::current().files().openDirectory(folder_), folder_.size()});
}

}  // namespace fl::filesystem
