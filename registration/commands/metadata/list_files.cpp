#include "registration/commands/metadata/list_files.hpp"

#include <exception>
#include <string_view>

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/recursive_directory_iterator.hpp"

namespace registration::commands::metadata {

namespace {

/// Without what the classic locale calls space or blank, at both ends.
std::string trimmed(std::string_view line) {
  constexpr std::string_view blanks = " \t\n\v\f\r";
  auto const first = line.find_first_not_of(blanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(line.substr(first, line.find_last_not_of(blanks) - first + 1));
}

/// Most names are dismissed by their last units, before a text is made of them.
bool hasExtension(std::u16string_view name, UString const& extension) {
  return name.ends_with(extension) && fl::filesystem::extract_extension(UString(name)) == extension;
}

}  // namespace

void findFilesByExtension(Path const& root, UString const& extension, std::set<Path>& found) {
  std::exception_ptr first;
  fl::filesystem::recursive_directory_walk walk(root);
  for (bool isAtEnd = false; !isAtEnd;) {
    try {
      auto const* const entry = walk.next();
      isAtEnd = entry == nullptr;
      if (entry && !entry->is_directory() && hasExtension(entry->file_name(), extension)) {
        found.insert(entry->path());
      }
    } catch (std::exception const& failure) {
      if (first) {
        tellLost(fl::i18n::utf8_to_ustring(failure.what()), root);
      } else {
        first = std::current_exception();
      }
    }
  }
  if (first) {
    std::rethrow_exception(first);
  }
}

std::set<Path> findLists(ListFormat const& format, Path const& root, Log const& log) {
  std::set<Path> files;
  utility::loggingFailure(log, UString(format.errorGetting),
                          [&] { findFilesByExtension(root, UString(format.extension), files); });
  return files;
}

List readEntries(char mark, Path const& file, ToEntry const& toEntry) {
  List list;
  fl::filesystem::ifstream stream(file);
  list.isOpened = stream.is_open();
  std::size_t number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    std::string const entry = trimmed(line);
    if (!entry.empty() && entry.front() != mark) {
      list.entries.insert(toEntry(entry, number));
    }
  }
  list.failure = fl::i18n::utf8_to_ustring(stream.failure());
  return list;
}

List readList(ListFormat const& format, Path const& file, Log const& log, ToEntry const& toEntry) {
  List list = readEntries(format.commentMark, file, toEntry);
  if (!list.isOpened) {
    utility::logTrouble(log, UString(format.unableToOpen) + file.ustring(), file.ustring());
  } else if (!list.failure.empty()) {
    tellLost(list.failure, file);
  }
  return list;
}

std::set<UString> readLists(std::set<Path> const& files,
                            std::function<std::set<UString>(Path const&)> const& readOne) {
  std::set<UString> entries;
  for (Path const& file : files) {
    entries.merge(readOne(file));
  }
  return entries;
}

}  // namespace registration::commands::metadata
