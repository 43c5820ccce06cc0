#include "registration/commands/metadata/third_party_entries.hpp"

#include "registration/commands/metadata/foreign_servers.hpp"
#include "registration/commands/metadata/placeholders.hpp"

namespace registration::commands::metadata {

void forEachInstrSet(ThirdParty const& kind, UString const& root, Log const& log,
                     MakeUtils const& makeUtils,
                     std::function<void(UString const& setRoot, InstrSet const& set)> const& take) {
  utility::loggingFailure(log, UString(kind.errorGetting), [&] {
    auto const utils = makeUtils();
    for (auto const& [setRoot, set] : utils->getInstrSetRootToComponentMap(root)) {
      take(setRoot, *set);
    }
  });
}

std::vector<UString> gatherPaths(ThirdParty const& kind, UString const& root, Log const& log,
                                 MakeUtils const& makeUtils,
                                 std::vector<std::string> (InstrSet::*list)() const) {
  std::vector<UString> entries;
  forEachInstrSet(kind, root, log, makeUtils, [&](UString const& setRoot, InstrSet const& set) {
    std::size_t index = 0;
    for (std::string const& text : (set.*list)()) {
      entries.push_back(fl::i18n::utf8_to_ustring(expanded(text, setRoot)));
      warnOfForeignServer(entries.back(), root, placeIn(kind, setRoot, index++));
    }
  });
  return entries;
}

UString placeIn(ThirdParty const& kind, UString const& setRoot, std::size_t index) {
  std::string const pointer = "/" + std::string(kind.list) + "/" + std::to_string(index);
  return (Path(setRoot) / u"instructionset.json").ustring() + u": " + fl::i18n::to_ustring(pointer);
}

std::string expanded(std::string const& text, UString const& setRoot) {
  std::string const withRoot =
      withReplaced(text, "$IS_ROOT_DIR", fl::i18n::ustring_to_utf8(setRoot));
  return withReplaced(withRoot, "$IS_FILE_SEP", "\\");
}

}  // namespace registration::commands::metadata
