#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"

namespace benchmarks {

namespace {

using fl::filesystem::Path;

/// A product of `count` entries in `count` / 100 list files, ten spellings for each of its folders.
Path makeProduct(int count) {
  Path const root = workFolder() / fl::i18n::to_ustring("product-" + std::to_string(count));
  fl::filesystem::create_directories(root / u"lists");
  std::string lines;
  for (int entry = 0; entry < count; ++entry) {
    std::string line = "folder-" + std::to_string(entry / 10);
    if (entry % 10 == 0) {
      fl::filesystem::create_directories(root / fl::i18n::to_ustring(line));
    }
    for (int dots = 0; dots < entry % 10; ++dots) {
      line += "\\.";
    }
    lines += line + '\n';
    if (entry % 100 == 99) {
      makeFile(root / u"lists" / fl::i18n::to_ustring(std::to_string(entry) + ".phl"), lines);
      lines.clear();
    }
  }
  return root;
}

void addEntries(Path const& root) {
  registration::utility::Options::Values values;
  values.metadataRootPath = root.ustring();
  registration::commands::AddVTPathEntriesToMetadataFile(registration::utility::Options(values))
      .execute();
}

}  // namespace

void addPathEntries() {
  Path const small = makeProduct(10'000);
  Path const large = makeProduct(100'000);
  printFigure("peak memory before", peakMemory(), "MiB");
  addEntries(small);
  printFigure("peak memory after 10,000 entries", peakMemory(), "MiB");
  addEntries(large);
  printFigure("peak memory after 100,000 entries", peakMemory(), "MiB");
  printRatio(
      "100,000 entries / 10,000 entries", "about 10, as the number of entries", 5,
      [&] { addEntries(large); }, [&] { addEntries(small); });
}

}  // namespace benchmarks
