#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_exists.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "registration/commands/AddJavaPathEntriesToMetadataFile.hpp"

namespace benchmarks {

namespace {

using fl::filesystem::Path;

void addEntries(Path const& root) {
  registration::utility::Options::Values values;
  values.metadataRootPath = root.ustring();
  registration::commands::AddJavaPathEntriesToMetadataFile(registration::utility::Options(values))
      .execute();
}

/// A product whose `javaClassPath` lists all of its `count` entries: spellings of one file.
Path makeProduct(int count) {
  Path const root = workFolder() / fl::i18n::to_ustring("java-" + std::to_string(count));
  fl::filesystem::create_directories(root / u"jar");
  std::string lines;
  for (int entry = 0; entry < count; ++entry) {
    std::string const name = "jar\\number " + std::to_string(entry);
    lines += "$vortanroot\\" + name + "\\..\\..\\jar\n";
  }
  makeFile(root / u"all.jcp", lines);
  addEntries(root);
  return root;
}

std::size_t countExisting(std::vector<Path> const& paths) {
  return static_cast<std::size_t>(
      std::ranges::count_if(paths, [](Path const& path) { return fl::filesystem::exists(path); }));
}

}  // namespace

void mergeJavaClassPath() {
  Path const small = makeProduct(5'000);
  Path const large = makeProduct(50'000);
  printRatio(
      "nothing new: 50,000 entries listed / 5,000", "about 10, as the number of entries", 7,
      [&] { addEntries(large); }, [&] { addEntries(small); });
}

void testExistence() {
  constexpr int count = 1'000;
  std::vector<Path> paths;
  for (int file = 0; file < count; ++file) {
    paths.push_back(workFolder() / fl::i18n::to_ustring("file " + std::to_string(file) + ".jar"));
    if (file % 2 == 0) {
      makeFile(paths.back(), "");
    }
  }
  NativePaths const native(paths);
  auto const expectHalf = [](std::size_t found) {
    if (found != count / 2) {
      throw std::runtime_error(std::to_string(found) + " files found to exist");
    }
  };
  printRatio(
      "1,000 tests for existence: ours / bare system calls", "at most 1.15", 15,
      [&] { expectHalf(countExisting(paths)); }, [&] { expectHalf(native.countExisting()); });
}

}  // namespace benchmarks
