#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"
#include "registration/commands/metadata/path_metadata_file.hpp"
#include "registration/utility/types.hpp"

/// What the three commands that write third-party entries share: they gather one list of every
/// installed instruction set and write the file that it belongs to.
namespace registration::commands::metadata {

using install::cppinstrset::InstrSet;
using install::cppinstrset::InstrSetPostInstallUtils;

/// The differences between the three.
struct ThirdParty {
  Writer const& writer;
  std::u16string_view errorGetting;
  std::u16string_view unableToAdd;
  std::string_view list;  ///< the member of a set's file
};

inline constexpr ThirdParty environmentVariables{
    thirdPartyEnvironment,
    u"Error getting all environment variables for 3P from instruction sets",
    u"Unable to add environment variable entries to metadata file",
    "envVariables",
};
inline constexpr ThirdParty vortanPaths{
    thirdPartySearchFolders,
    u"Error getting VORTAN path entries from Instruction Set files",
    u"Unable to add 3P path entries to metadata file",
    "VortanPaths",
};
inline constexpr ThirdParty javaClassPaths{
    thirdPartyJavaClassPath,
    u"Error getting 3p javaClassPath from Instruction set map",
    u"Unable to add 3p java path entries to metadata file",
    "JavaClassPaths",
};

using MakeUtils = std::function<std::unique_ptr<InstrSetPostInstallUtils>()>;

/// Hands `take` each installed set with its root folder, in ascending order of the folders. A
/// std::exception, of `makeUtils` and `take` too, is logged and ends it.
void forEachInstrSet(ThirdParty const& kind, UString const& root, Log const& log,
                     MakeUtils const& makeUtils,
                     std::function<void(UString const& setRoot, InstrSet const& set)> const& take);

/// Where an entry stands: `SETROOT\instructionset.json: /VortanPaths/2`.
UString placeIn(ThirdParty const& kind, UString const& setRoot, std::size_t index);

/// The texts of one list of every set, placeholders expanded; those before a failure when there is
/// one. One on another server is told as trouble.
std::vector<UString> gatherPaths(ThirdParty const& kind, UString const& root, Log const& log,
                                 MakeUtils const& makeUtils,
                                 std::vector<std::string> (InstrSet::*list)() const);

/// `text` with the set's root folder in the place of $IS_ROOT_DIR, then a backslash in the place of
/// $IS_FILE_SEP.
std::string expanded(std::string const& text, UString const& setRoot);

}  // namespace registration::commands::metadata
