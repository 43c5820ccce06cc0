#include "registration/commands/metadata/path_metadata_file.hpp"

#include <exception>
#include <optional>
#include <sstream>

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/line_reader.hpp"
#include "fl/filesystem/operations.hpp"

namespace registration::commands::metadata {

namespace {

void logLine(Log const& log, std::u16string_view line) {
  if (!line.empty()) {
    log(UString(line));
  }
}

void tellUnwritten(Path const& file, std::string_view reason) {
  tellLost(file.ustring() + u" could not be written: " + fl::i18n::utf8_to_ustring(reason), file);
}

/// False when it failed, which was told.
template <typename Step>
bool isWritten(Path const& file, Step&& step) {
  try {
    step();
    return true;
  } catch (std::exception const& failure) {
    tellUnwritten(file, failure.what());
    return false;
  }
}

/// Whether the last line has no line feed at its end. A file that cannot be opened is taken for one
/// in order; one that cannot be read to its end for one that is not, since an empty line does no
/// harm.
bool endsWithinLine(Path const& file) {
  std::optional<fl::filesystem::line_reader> lines;
  try {
    lines.emplace(file);
    bool isComplete = true;
    while (lines->next()) {
      isComplete = lines->has_line_feed();
    }
    return !isComplete || lines->is_text_too_long();
  } catch (std::exception const&) {
    return lines.has_value();
  }
}

void extend(Path const& path, std::string_view start,
            std::function<void(Lines&)> const& writeBody) {
  bool const lacksLineFeed = endsWithinLine(path);
  fl::filesystem::ofstream file(path, fl::filesystem::open_mode::append);
  file << start << std::flush;
  Lines lines(file, lacksLineFeed);
  writeBody(lines);
  file.close();
  if (!file.failure().empty()) {
    tellUnwritten(path, file.failure());
  }
}

/// Deletes the old file once the new one lies complete beside it.
void writeAnew(Path const& path, std::string const& content) {
  Path const complete(path.ustring() + u".new");
  if (!isWritten(path, [&] { fl::filesystem::replace_file(complete, content); })) {
    return;
  }
  try {
    fl::filesystem::remove(path);
  } catch (...) {
    // What keeps the old file is what to tell, not that this fails too.
    utility::reportingFailure([&] { fl::filesystem::remove(complete); }, [](UString const&) {});
    throw;
  }
  isWritten(path, [&] {
    fl::filesystem::rename(complete.ustring(), path.ustring(),
                           fl::filesystem::rename_options::keep_existing);
  });
}

}  // namespace

void tellLost(UString const& text, Path const& file) {
  using namespace install::cpputil;
  trouble::tell({trouble::severity::error, text, file.ustring()});
}

void Lines::write(std::string_view text) {
  if (endsWithinLine_) {
    file_ << '\n';
    endsWithinLine_ = false;
  }
  file_ << text << '\n' << std::flush;
}

void writeFile(Writer const& writer, Path const& root, Log const& log,
               std::function<void(Lines&)> const& writeBody) {
  logLine(log, writer.adding);
  Path const path = root / UString(writer.file);
  bool const isNew = !fl::filesystem::exists(path);
  bool const hasHeader =
      writer.header == Header::always || (writer.header == Header::inNewFile && isNew);
  std::string_view const start = hasHeader ? header : std::string_view();
  if (writer.existingFile == ExistingFile::extended) {
    extend(path, start, writeBody);
  } else {
    std::ostringstream content;
    content << start;
    Lines lines(content, false);
    writeBody(lines);
    if (writer.existingFile == ExistingFile::deleted) {
      writeAnew(path, content.str());
    } else {
      isWritten(path, [&] { fl::filesystem::replace_file(path, content.str()); });
    }
  }
  logLine(log, writer.added);
}

std::optional<UString> lineIfItExists(UString const& entry) {
  if (!fl::filesystem::is_absolute(entry)) {
    utility::warn(entry + u" is not absolute: where it is looked for depends on the current folder",
                  entry);
  }
  return fl::filesystem::exists(entry) ? std::optional(entry) : std::nullopt;
}

}  // namespace registration::commands::metadata
