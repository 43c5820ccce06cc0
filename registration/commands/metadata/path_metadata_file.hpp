#pragma once

#include <string_view>

#include "fl/filesystem/fstream.hpp"
#include "registration/utility/types.hpp"

/// The path metadata file: three text files side by side in the metadata root folder. UTF-8 without
/// byte-order mark, one entry a line, each line ended by a single line feed.
namespace registration::commands::metadata {

inline constexpr std::u16string_view searchFoldersFile = u"ssiSearchFolders";

/// Writes one entry's line and flushes. As with every stream, a failure is silent.
void writeLine(fl::filesystem::ofstream& file, UString const& entry);

}  // namespace registration::commands::metadata
