#include "bundles/classpath_services/class_path_file.hpp"

#include <set>
#include <stdexcept>
#include <string>

#include "fl/filesystem/operations.hpp"
#include "machine/machine.hpp"
#include "machine/whole_file.hpp"
#include "registration/commands/metadata/list_files.hpp"

namespace classpath_services {

using fl::filesystem::Path;
using fl::i18n::UString;
namespace metadata = registration::commands::metadata;

namespace {

std::string linesFrom(Path const& metadataFile) {
  std::string lines;
  if (!fl::filesystem::exists(metadataFile)) {
    return lines;
  }
  std::set<UString> seen;
  auto const list = metadata::readEntries(
      metadata::commentMark, metadataFile, [&](std::string const& line, std::size_t) {
        auto entry = fl::i18n::utf8_to_ustring(line);
        if (fl::filesystem::exists(entry) && seen.insert(machine::foldCase(entry)).second) {
          lines += line + '\n';
        }
        return entry;
      });
  if (!list.failure.empty()) {
    throw std::runtime_error(fl::i18n::to_string(list.failure));
  }
  return lines;
}

}  // namespace

Path ClassPathFile::getClassPathFile(UString const& rootFolder) const {
  return Path(rootFolder).make_native() / u"bin" / u"win64" / u"vortan.classpath";
}

void ClassPathFile::generateClassPath(UString const& rootFolder) const {
  Path const file = getClassPathFile(rootFolder);
  auto const lines = linesFrom(Path(rootFolder).make_native() / u"javaClassPath");
  fl::filesystem::create_directories(file.parent_path());
  machine::replaceFile(machine::current().files(), file.ustring(), lines);
}

}  // namespace classpath_services
