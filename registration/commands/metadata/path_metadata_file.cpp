#include "registration/commands/metadata/path_metadata_file.hpp"

#include "fl/filesystem/operations.hpp"

namespace registration::commands::metadata {

namespace {

void logLine(Log const& log, std::u16string_view line) {
  if (!line.empty()) {
    log(UString(line));
  }
}

}  // namespace

void writeLine(fl::filesystem::ofstream& file, std::string_view text) {
  file << text << '\n' << std::flush;
}

void writeFile(Writer const& writer, Path const& root, Log const& log,
               std::function<void(fl::filesystem::ofstream&)> const& writeBody) {
  using fl::filesystem::open_mode;
  logLine(log, writer.adding);
  Path const path = root / UString(writer.file);
  bool const isNew = !fl::filesystem::exists(path);
  if (writer.existingFile == ExistingFile::deleted && !isNew) {
    fl::filesystem::remove(path);
  }
  bool const isExtended = writer.existingFile == ExistingFile::extended && !isNew;
  fl::filesystem::ofstream file(path, isExtended ? open_mode::append : open_mode::truncate);
  if (writer.header == Header::always || (writer.header == Header::inNewFile && isNew)) {
    file << header << std::flush;
  }
  writeBody(file);
  file.close();
  logLine(log, writer.added);
}

std::optional<UString> ifItExists(UString const& entry) {
  return fl::filesystem::exists(entry) ? std::optional(entry) : std::nullopt;
}

}  // namespace registration::commands::metadata
