#include "fl/filesystem/operations.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "fl/filesystem/verbatim.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/whole_file.hpp"

namespace fl::filesystem {

namespace grammar = machine::path_grammar;
using machine::ErrorCode;
using machine::SystemError;

namespace {

machine::Files& files() {
  return machine::current().files();
}

UString absolute(Path const& path) {
  return grammar::absolute(path.ustring(), files().currentDirectory());
}

bool removeEntry(UString const& path, bool isDirectory) {
  return isDirectory ? files().removeDirectory(path) : files().removeFile(path);
}

bool isDots(std::u16string_view name) {
  return name == u"." || name == u"..";
}

/// Dots in a verbatim path are names to Windows, which has none such; what another system makes of
/// them may be a root.
bool isOrMayBeRoot(Path const& path) {
  auto const names = grammar::components(path.ustring());
  if (grammar::isVerbatim(path.ustring())) {
    return names.empty() || std::any_of(names.begin(), names.end(), isDots);
  }
  return names.empty() || grammar::components(absolute(path)).empty();
}

void refuseRoot(Path const& path) {
  if (isOrMayBeRoot(path)) {
    throw std::invalid_argument("refused to remove all of \"" +
                                i18n::ustring_to_utf8(path.ustring()) + "\"");
  }
}

/// Removes what a path stands for, the content of a folder before the folder. A level is a folder
/// on the way down and what is still in it, read before the first removal: a folder's listing is
/// not defined while it changes.
class TreeRemoval {
 public:
  explicit TreeRemoval(UString path) : path_(std::move(path)) {}

  void run() {
    removeOrEnter();
    while (!levels_.empty()) {
      path_.resize(levels_.back().pathLength);
      if (levels_.back().names.empty()) {
        files().removeDirectory(path_);
        levels_.pop_back();
      } else {
        removeNext();
      }
    }
  }

 private:
  struct Name {
    UString text;
    bool isDirectory;
    bool isLink;
  };
  struct Level {
    std::size_t pathLength;
    std::vector<Name> names;
  };

  void removeNext() {
    Name const name = std::move(levels_.back().names.back());
    levels_.back().names.pop_back();
    path_ = grammar::join(path_, name.text);
    if (name.isDirectory && !name.isLink) {
      removeOrEnter();
    } else {
      removeEntry(path_, name.isDirectory);
    }
  }

  /// Asks again what the name stands for: a folder may have become a link since it was listed.
  void removeOrEnter() {
    auto const status = files().status(path_);
    if (!status) {
      return;
    }
    if (status->isDirectory && !status->isLink) {
      enter();
    } else {
      removeEntry(path_, status->isDirectory);
    }
  }

  void enter() {
    try {
      levels_.push_back({path_.size(), namesInFolder()});
    } catch (SystemError const& error) {
      if (!error.isMissing()) {
        throw;
      }
    }
  }

  std::vector<Name> namesInFolder() const {
    std::vector<Name> names;
    auto const listing = files().openDirectory(path_);
    machine::DirectoryEntry entry;
    while (listing->next(entry)) {
      names.push_back({UString(entry.name), entry.isDirectory, entry.isLink});
    }
    return names;
  }

  UString path_;
  std::vector<Level> levels_;
};

/// The drive or share of an absolute path, the same for all the ways to write its root.
UString volume(UString const& path) {
  std::u16string_view root = std::u16string_view(path).substr(0, grammar::rootLength(path));
  while (!root.empty() && grammar::isSeparator(root.back())) {
    root.remove_suffix(1);
  }
  if (!grammar::isVerbatim(path)) {
    return UString(root);
  }
  constexpr std::u16string_view share = u"\\\\?\\UNC\\";
  constexpr std::u16string_view prefix = u"\\\\?\\";
  if (machine::equalIgnoringCase(root.substr(0, share.size()), share)) {
    return u"\\\\" + UString(root.substr(share.size()));
  }
  return UString(root.substr(std::min(prefix.size(), root.size())));
}

}  // namespace

bool exists(Path const& path) {
  try {
    return files().status(path.ustring()).has_value();
  } catch (SystemError const& error) {
    return error.is(ErrorCode::accessDenied) || error.is(ErrorCode::sharingViolation);
  }
}

bool exists(UString const& path) {
  return exists(Path(path));
}

bool is_directory(Path const& path) {
  auto const status = files().status(path.ustring());
  return status && status->isDirectory;
}

bool remove(Path const& path) {
  auto const status = files().status(path.ustring());
  return status && removeEntry(path.ustring(), status->isDirectory);
}

void remove_all(Path const& path) {
  refuseRoot(path);
  TreeRemoval(verbatim(path)).run();
}

void rename(UString const& from, UString const& to, rename_options options) {
  files().rename(from, to, options == rename_options::replace_existing);
}

void replace_file(Path const& path, std::string_view content) {
  try {
    machine::replaceFile(files(), path.ustring(), content);
  } catch (SystemError const& error) {
    if (!error.is(ErrorCode::accessDenied) && !error.is(ErrorCode::sharingViolation)) {
      throw;
    }
    auto const writer = files().openForWriting(path.ustring(), machine::WriteMode::truncate);
    writer->write(content);
    writer->close();
  }
}

bool is_absolute(Path const& path) {
  return grammar::isAbsolute(path.ustring());
}

UString foreign_server_warning(Path const& path, Path const& home) {
  UString const server(grammar::foreignServer(path.ustring(), home.ustring()));
  if (server.empty()) return {};
  return path.ustring() + u" leads to " + server +
         u", not to where the product is: this computer makes itself known there";
}

Path relative(Path const& path, Path const& base) {
  UString const target = absolute(path);
  UString const start = absolute(base);
  if (!machine::equalIgnoringCase(volume(target), volume(start))) {
    return target;
  }
  auto const down = grammar::components(target);
  auto const up = grammar::components(start);
  auto const [firstDown, firstUp] =
      std::mismatch(down.begin(), down.end(), up.begin(), up.end(), machine::equalIgnoringCase);
  UString result;
  for (auto level = firstUp; level != up.end(); ++level) {
    result = grammar::join(result, u"..");
  }
  for (auto name = firstDown; name != down.end(); ++name) {
    result = grammar::join(result, *name);
  }
  return result.empty() ? UString(u".") : result;
}

Path get_current_path() {
  return files().currentDirectory();
}

bool change_current_path(Path const& path) {
  return files().setCurrentDirectory(path.ustring());
}

std::vector<UString> entry_names(Path const& folder) {
  std::vector<UString> names;
  auto const listing = files().openDirectory(folder.ustring());
  for (machine::DirectoryEntry entry; listing->next(entry);) {
    names.emplace_back(entry.name);
  }
  return names;
}

void create_directories(Path const& path) {
  UString const full = absolute(path);
  std::vector<std::u16string_view> missing;
  std::u16string_view folder = full;
  auto status = files().status(folder);
  while (!status && folder.size() > grammar::rootLength(full)) {
    missing.push_back(folder);
    folder = grammar::parent(folder);
    status = files().status(folder);
  }
  if (status && !status->isDirectory) {
    throw SystemError("create folder", folder, ErrorCode::alreadyExists);
  }
  std::for_each(missing.rbegin(), missing.rend(),
                [](std::u16string_view name) { files().createDirectory(name); });
}

}  // namespace fl::filesystem
