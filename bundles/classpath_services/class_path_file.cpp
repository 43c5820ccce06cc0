#include "bundles/classpath_services/class_path_file.hpp"

#include <set>
#include <stdexcept>
#include <string>

#include "fl/filesystem/operations.hpp"
#include "machine/machine.hpp"
#include "registration/commands/metadata/list_files.hpp"

namespace classpath_services {

using fl::filesystem::Path;
using fl::i18n::UString;
namespace metadata = registration::commands::metadata;

namespace {

[[noreturn]] void fail(UString const& message) {
  throw std::runtime_error(fl::i18n::to_string(message));
}

std::string linesFrom(Path const& metadataFile) {
  std::string lines;
  if (!fl::filesystem::exists(metadataFile)) {
    return lines;
  }
  std::set<UString> seen;
  metadata::readList(
      metadata::javaClassPathFormat, metadataFile, fail, [&](std::string const& line) {
        auto entry = fl::i18n::utf8_to_ustring(line);
        if (fl::filesystem::exists(entry) && seen.insert(machine::foldCase(entry)).second) {
          lines += line + '\n';
        }
        return entry;
      });
  return lines;
}

void write(Path const& file, std::string const& content) {
  auto const writer =
      machine::current().files().openForWriting(file.ustring(), machine::WriteMode::truncate);
  writer->write(content);
  writer->flushToDisk();
  writer->close();
}

void replace(Path const& file, std::string const& content) {
  Path const temporary(file.ustring() + u".tmp");
  try {
    write(temporary, content);
    fl::filesystem::rename(temporary.ustring(), file.ustring());
  } catch (std::exception const&) {
    // What went wrong is what to tell, not that this fails too.
    try {
      fl::filesystem::remove(temporary);
    } catch (std::exception const&) {
    }
    throw;
  }
}

}  // namespace

Path ClassPathFile::getClassPathFile(UString const& rootFolder) const {
  return Path(rootFolder).make_native() / u"bin" / u"win64" / u"vortan.classpath";
}

void ClassPathFile::generateClassPath(UString const& rootFolder) const {
  Path const file = getClassPathFile(rootFolder);
  auto const lines = linesFrom(Path(rootFolder).make_native() / u"javaClassPath");
  fl::filesystem::create_directories(file.parent_path());
  replace(file, lines);
}

}  // namespace classpath_services
