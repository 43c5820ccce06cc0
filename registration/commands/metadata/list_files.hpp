#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "machine/api.hpp"
#include "registration/commands/metadata/path_metadata_file.hpp"
#include "registration/utility/types.hpp"

/// The list files of installed parts: UTF-8 text, an entry a line, trimmed; empty lines and
/// comments are skipped.
namespace registration::commands::metadata {

/// One kind of list file.
struct ListFormat {
  std::u16string_view extension;
  char commentMark;
  std::u16string_view errorGetting;
  std::u16string_view unableToOpen;  ///< the file's path follows
};

inline constexpr ListFormat phlFormat{u"phl", '%', u"Error getting all PHL files",
                                      u"Unable to open phl file: "};
inline constexpr ListFormat jcpFormat{u"jcp", '#', u"Error getting all JCP files",
                                      u"Unable to open jcp file: "};
/// The metadata file that is read back; nobody searches for it.
inline constexpr ListFormat javaClassPathFormat{u"", commentMark, u"",
                                                u"Unable to open javaClassPath file: "};

/// Adds to `found` every file below `root`, at any depth, whose extension is exactly `extension`
/// (case matters). Links are not entered. Throws machine::SystemError when a folder cannot be read;
/// what was found before stays in `found`.
void findFilesByExtension(Path const& root, UString const& extension, std::set<Path>& found);

/// The files of this kind below `root`; those found before a failure, which is logged.
std::set<Path> findLists(ListFormat const& format, Path const& root, Log const& log);

/// The entries of one list, each as `toEntry` gives it. A file that cannot be opened is logged and
/// has none.
REGISTRATION_API std::set<UString> readList(
    ListFormat const& format, Path const& file, Log const& log,
    std::function<UString(std::string const& line)> const& toEntry);

/// The union of what `readOne` reads from each file, in order.
std::set<UString> readLists(std::set<Path> const& files,
                            std::function<std::set<UString>(Path const&)> const& readOne);

}  // namespace registration::commands::metadata
