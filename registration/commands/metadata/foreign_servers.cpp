#include "registration/commands/metadata/foreign_servers.hpp"

#include "fl/filesystem/operations.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands::metadata {

void warnOfForeignServer(UString const& entry, Path const& root, UString const& place) {
  UString const warning = fl::filesystem::foreign_server_warning(entry, root);
  if (!warning.empty()) {
    utility::warn(place + u": " + warning, entry);
  }
}

UString placeOf(Path const& file, std::size_t line) {
  return file.ustring() + u":" + fl::i18n::to_ustring(std::to_string(line));
}

}  // namespace registration::commands::metadata
