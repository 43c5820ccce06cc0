#include "registration/commands/os/path_rewrite.hpp"

#include <string_view>

#include "registration/utility/utilities.hpp"

namespace registration::commands::path_rewrite {

namespace {

using namespace std::string_view_literals;

constexpr auto separator = u";"sv;
constexpr auto binFolder = u"bin"sv;
constexpr auto binEnding = u"\\bin"sv;
constexpr auto compilerEnding = u"\\runtime\\win64"sv;

UString without(UString const& entry, std::u16string_view ending) {
  return entry.size() < ending.size() ? entry : entry.substr(0, entry.size() - ending.size());
}

Placement placementAt(UString const& entry, NewEntry const& added,
                      Installations const& installations) {
  UString const lower = utility::toLower(entry);
  bool const ofCompiler = isCompilerPath(lower);
  if (!ofCompiler && !isBinPath(lower)) {
    return Placement::keep;
  }
  if (isTheSameRoot(utility::toLower(added.pathEntry), lower)) {
    return Placement::after;
  }
  Path const program = ofCompiler ? getExecutableFilePathCompiler(entry, added.executableName)
                                  : getExecutableFilePath(entry, added.executableName);
  bool const notNewer =
      installations.exists(program) &&
      utility::compareVersions(added.productVersion, installations.fileVersion(program)) >= 0;
  return notNewer ? Placement::before : Placement::keep;
}

/// An entry that cannot be examined, whatever the reason, stays as it is.
Placement placementOrKeep(UString const& entry, NewEntry const& added,
                          Installations const& installations) {
  try {
    return placementAt(entry, added, installations);
  } catch (...) {
    return Placement::keep;
  }
}

}  // namespace

bool isBinPath(UString const& entry) {
  return entry.ends_with(binFolder);
}

bool isCompilerPath(UString const& entry) {
  return entry.ends_with(compilerEnding);
}

bool isTheSameRoot(UString const& newEntry, UString const& entry) {
  return without(newEntry, binEnding) == without(entry, compilerEnding);
}

Path getExecutableFilePath(UString const& entry, UString const& executableName) {
  if (entry.find(u"qindle") != UString::npos) {
    return Path(entry) / executableName;
  }
  return Path(entry) / u"win64" / executableName;
}

Path getExecutableFilePathCompiler(UString const& entry, UString const& executableName) {
  return Path(without(entry, compilerEnding)) / u"bin" / u"win64" / executableName;
}

void updatePath(UString& newPath, UString const& entry, UString const& pathEntry,
                Placement placement) {
  auto const append = [&](UString const& item) { newPath.append(item).append(separator); };
  if (placement == Placement::before) {
    append(pathEntry);
  }
  append(entry);
  if (placement == Placement::after) {
    append(pathEntry);
  }
}

bool contains(UString const& current, UString const& pathEntry) {
  return utility::toLower(current).find(utility::toLower(pathEntry)) != UString::npos;
}

UString withEntry(UString const& current, NewEntry const& added,
                  Installations const& installations) {
  UString newPath;
  bool placed = false;
  for (UString const& entry : utility::split(current, ';')) {
    if (entry.empty()) {
      continue;
    }
    Placement const placement =
        placed ? Placement::keep : placementOrKeep(entry, added, installations);
    placed = placed || placement != Placement::keep;
    updatePath(newPath, entry, added.pathEntry, placement);
  }
  if (!placed) {
    newPath.append(added.pathEntry).append(separator);
  }
  return newPath;
}

UString withoutEntry(UString const& current, UString const& pathEntry) {
  UString const item = pathEntry + u";";
  UString rest = current;
  if (auto const position = rest.find(item); position != UString::npos) {
    rest.erase(position, item.size());
  }
  return rest;
}

}  // namespace registration::commands::path_rewrite
