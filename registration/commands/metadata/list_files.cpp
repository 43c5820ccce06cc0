#include "registration/commands/metadata/list_files.hpp"

#include <exception>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "fl/filesystem/line_reader.hpp"
#include "fl/filesystem/recursive_directory_iterator.hpp"

namespace registration::commands::metadata {

namespace {

/// Most names are dismissed by their last units, before a text is made of them.
bool hasExtension(std::u16string_view name, UString const& extension) {
  return name.ends_with(extension) && fl::filesystem::extract_extension(UString(name)) == extension;
}

void tellLostLine(Path const& file, std::size_t number, std::string const& reason) {
  tellLost(file.ustring() +
               fl::i18n::to_ustring(": line " + std::to_string(number) + " is left out: " + reason),
           file);
}

/// A line that is too long names nothing that could exist: it loses only itself.
void takeLine(fl::filesystem::line_reader const& lines, char mark, Path const& file,
              ToEntry const& toEntry, List& list) {
  std::string const entry(fl::filesystem::trimmed(lines.line()));
  if (entry.starts_with(mark)) {
    return;
  }
  if (lines.is_line_too_long()) {
    tellLostLine(file, lines.number(), lines.why_line_is_too_long());
    return;
  }
  if (!entry.empty()) {
    try {
      list.entries.insert(toEntry(entry, lines.number()));
    } catch (std::length_error const& failure) {
      tellLostLine(file, lines.number(), failure.what());
    }
  }
}

UString tooLong(fl::filesystem::line_reader const& lines, Path const& file) {
  return file.ustring() +
         fl::i18n::to_ustring(" is longer than " + std::to_string(lines.limits().text) +
                              " bytes, the most a list may be: what follows line " +
                              std::to_string(lines.number()) + " is left out");
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
  std::optional<fl::filesystem::line_reader> lines;
  auto const isDone = [&](auto const& step) {
    bool done = false;
    utility::reportingFailure([&] { done = step(); },
                              [&](UString const& text) { list.failure = text; });
    return done;
  };
  list.isOpened = isDone([&] {
    lines.emplace(file);
    return true;
  });
  while (list.isOpened && isDone([&] { return lines->next(); })) {
    takeLine(*lines, mark, file, toEntry, list);
  }
  if (list.isOpened && lines->is_text_too_long()) {
    list.failure = tooLong(*lines, file);
  }
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
