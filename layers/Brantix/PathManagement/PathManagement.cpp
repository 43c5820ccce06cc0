#include "Brantix/PathManagement/PathManagement.hpp"

#include <unordered_set>
#include <utility>

#include "Brantix/PathManagement/pathdef_generator.hpp"
#include "Brantix/VortanStorageSystem/VortanStorageSystem.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace Brantix::PathManagement {

namespace vfs = foundation::storage::vfs;
using fl::i18n::UString;
namespace grammar = machine::path_grammar;

namespace {

bool isFileIRI(UString const& text) {
  constexpr std::u16string_view scheme = u"file:";
  return machine::equalIgnoringCase(std::u16string_view(text).substr(0, scheme.size()), scheme);
}

/// The same for all spellings of one location.
UString keyOf(AbsoluteIRI const& iri) {
  try {
    return machine::foldCase(iri.isKnownToBeCanonical() ? iri.text()
                                                        : CanonicalAbsoluteIRI(iri).text());
  } catch (vfs::Exception const&) {
    return iri.text();
  }
}

}  // namespace

AbsoluteIRI GetIRIFromString(UString const& folder) {
  if (isFileIRI(folder)) {
    return CanonicalAbsoluteIRI(AbsoluteIRI(folder));
  }
  if (grammar::isAbsolute(folder)) {
    return CanonicalAbsoluteIRI::ofWindowsPath(folder);
  }
  auto const currentFolder = machine::current().files().currentDirectory();
  return CanonicalAbsoluteIRI::ofWindowsPath(grammar::absolute(folder, currentFolder));
}

std::shared_ptr<IPathdefGenerator> CreatePathdefGenerator(CanonicalAbsoluteIRI&& root) {
  return std::make_shared<PathdefGenerator>(std::move(root),
                                            VortanStorageSystem::GetStorageSystemReference());
}

std::vector<AbsoluteIRI> RemoveDuplicateIris(std::vector<AbsoluteIRI>& iris) {
  std::unordered_set<UString> seen(iris.size());
  std::erase_if(iris, [&](AbsoluteIRI const& iri) { return !seen.insert(keyOf(iri)).second; });
  return std::exchange(iris, {});
}

}  // namespace Brantix::PathManagement
