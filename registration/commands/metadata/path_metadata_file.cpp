#include "registration/commands/metadata/path_metadata_file.hpp"

namespace registration::commands::metadata {

void writeLine(fl::filesystem::ofstream& file, UString const& entry) {
  file << fl::i18n::ustring_to_utf8(entry) << '\n' << std::flush;
}

}  // namespace registration::commands::metadata
