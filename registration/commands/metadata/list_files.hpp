#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "machine/api.hpp"
#include "registration/commands/metadata/path_metadata_file.hpp"
#include "registration/utility/types.hpp"

/// The list files of installed parts: UTF-8 text, an entry a line, trimmed; empty lines and
/// comments are skipped. fl::filesystem::line_limits says how long a line and a list may be.
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
/// (case matters). Links are not entered. A folder that cannot be read loses only itself: the rest
/// is searched all the same, then the first such failure is thrown (machine::SystemError), the
/// others having been told as trouble.
void findFilesByExtension(Path const& root, UString const& extension, std::set<Path>& found);

/// The files of this kind below `root`; those that were found when there was a failure, which is
/// logged.
std::set<Path> findLists(ListFormat const& format, Path const& root, Log const& log);

/// What one list holds, as far as it could be read.
struct List {
  std::set<UString> entries;
  bool isOpened = false;
  /// Why it could not be opened or not be read to its end, or that it is longer than a list may be;
  /// empty when all of it was read.
  UString failure;
};

/// The entry of a line; `number` counts from 1.
using ToEntry = std::function<UString(std::string const& line, std::size_t number)>;

/// The entries of a list whose comments begin with `mark`, each as `toEntry` gives it. A line that
/// is longer than a line may be, or for which `toEntry` throws std::length_error, is left out, and
/// told as trouble with its number.
REGISTRATION_API List readEntries(char mark, Path const& file, ToEntry const& toEntry);

/// The same by its format, a failure logged or, where the log has no line for it, told as trouble.
List readList(ListFormat const& format, Path const& file, Log const& log, ToEntry const& toEntry);

/// The union of what `readOne` reads from each file, in order.
std::set<UString> readLists(std::set<Path> const& files,
                            std::function<std::set<UString>(Path const&)> const& readOne);

}  // namespace registration::commands::metadata
