#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_exists.hpp"
#include "benchmarks/sandbox.hpp"
#include "bundles/localstorage/local_storage.hpp"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "fl/filesystem/operations.hpp"
#include "foundation/cppmicroservices/framework.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "registration/commands/GeneratePathDef.hpp"

namespace benchmarks {

namespace {

using fl::filesystem::Path;
using foundation::storage::vfs::StorageProvider;

/// The command without the bundles, whose provider is here already.
class Generate final : public registration::commands::GeneratePathDef {
 public:
  using GeneratePathDef::GeneratePathDef;

 protected:
  void log_message(registration::UString const&) const override {}
  void loadVFSMicroServices() const override {}
  void handleVfsException(foundation::storage::vfs::Exception const& failure) const override {
    throw std::runtime_error(failure.what());
  }
};

void generate(Path const& root) {
  registration::utility::Options::Values values;
  values.rootPath = root.ustring();
  Generate(registration::utility::Options(values)).execute();
}

/// Makes `count` folders and lists them for the installation in `root`: from the second generation
/// on, each entry comes from the definition file and from the metadata file.
std::vector<Path> makeProduct(Path const& root, int count) {
  std::vector<Path> folders;
  std::string list;
  for (int i = 0; i < count; ++i) {
    auto const name = "set " + std::to_string(i / 100) + "\\folder " + std::to_string(i);
    folders.push_back(root / fl::i18n::to_ustring(name));
    fl::filesystem::create_directories(folders.back());
    list += name + "\n";
  }
  makeFile(root / u"ssiSearchFolders", list);
  return folders;
}

}  // namespace

void pathDefinition() {
  auto context = foundation::cppmicroservices::getFramework().GetBundleContext();
  auto provider =
      context.RegisterService<StorageProvider>(std::make_shared<localstorage::LocalStorage>());

  constexpr int count = 20'000;
  Path const large = workFolder() / u"large";
  Path const small = workFolder() / u"small";
  NativePaths const native(makeProduct(large, count));
  makeProduct(small, count / 10);
  printRatio(
      "20,000 entries generated / one bare test for existence each", "none", 7,
      [&] { generate(large); },
      [&] {
        if (native.countExisting() != count) {
          throw std::runtime_error("a folder is missing");
        }
      });
  printRatio(
      "20,000 entries generated / 2,000", "about 10, as the number of entries", 7,
      [&] { generate(large); }, [&] { generate(small); });
  provider.Unregister();
}

}  // namespace benchmarks
