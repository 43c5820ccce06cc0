#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"

#include "fl/filesystem/operations.hpp"
#include "fl/filesystem/recursive_directory_iterator.hpp"
#include "machine/unicode.hpp"

namespace install::cppinstrset {

InstrSetPostInstallUtils::InstrSetPostInstallUtils() = default;
InstrSetPostInstallUtils::~InstrSetPostInstallUtils() = default;

std::map<UString, std::unique_ptr<InstrSet>>
InstrSetPostInstallUtils::getInstrSetRootToComponentMap(UString const& root) const {
  std::map<UString, std::unique_ptr<InstrSet>> sets;
  auto const folder = fl::filesystem::Path(root).make_native() / u"instructionsets";
  if (!fl::filesystem::exists(folder)) {
    return sets;
  }
  fl::filesystem::recursive_directory_walk walk(folder);
  while (auto const* entry = walk.next()) {
    if (!entry->is_directory() &&
        machine::equalIgnoringCase(entry->file_name(), u"instructionset.json")) {
      auto const file = entry->path();
      sets.emplace(file.parent_path().ustring(), std::make_unique<InstrSet>(file.ustring()));
    }
  }
  return sets;
}

}  // namespace install::cppinstrset
