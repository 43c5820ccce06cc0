#pragma once

#include <functional>

#include "machine/api.hpp"
#include "registration/utility/types.hpp"

/// How a folder is placed in the machine's `Path`: pure functions of texts and of a way to ask for
/// the versions of the programs found there.
namespace registration::commands::path_rewrite {

/// The value must stay shorter than this, in UTF-16 units.
inline constexpr std::size_t lengthLimit = 2048;

/// Ends with "bin". The caller passes a lower-cased entry.
bool isBinPath(UString const& entry);
/// Ends with "\runtime\win64". The caller passes a lower-cased entry.
bool isCompilerPath(UString const& entry);
/// `newEntry` without "\bin" equals `entry` without "\runtime\win64". What is shorter than its
/// ending is taken whole.
bool isTheSameRoot(UString const& newEntry, UString const& entry);

/// The program that stands for the installation owning the folder `entry`: below its "win64", or in
/// the folder itself when the entry contains "qindle".
Path getExecutableFilePath(UString const& entry, UString const& executableName);
/// The same for a compiler runtime folder: `C:\P\runtime\win64` -> `C:\P\bin\win64\` + name.
Path getExecutableFilePathCompiler(UString const& entry, UString const& executableName);

enum class Placement { keep, after, before };

/// Appends `entry`, and where asked `pathEntry` after or before it, each followed by ";".
void updatePath(UString& newPath, UString const& entry, UString const& pathEntry,
                Placement placement);

struct NewEntry {
  UString pathEntry;
  UString productVersion;
  UString executableName;
};

/// How the rewrite looks at the machine. Whatever either throws keeps the entry it was asked for.
struct Installations {
  std::function<bool(Path const& file)> exists;
  std::function<UString(Path const& file)> fileVersion;
};

/// True when `current` contains the entry anywhere, without regard to case.
bool contains(UString const& current, UString const& pathEntry);

/// `current` with the new entry in its place: after the compiler runtime folder of the same root;
/// before the first installation that is not newer; else at the end. Empty entries vanish, every
/// entry is followed by ";", the last one too, so that `withoutEntry` finds it.
UString withEntry(UString const& current, NewEntry const& entry,
                  Installations const& installations);

/// `current` without the first exact occurrence of `pathEntry` + ";"; unchanged when there is none.
UString withoutEntry(UString const& current, UString const& pathEntry);

}  // namespace registration::commands::path_rewrite
