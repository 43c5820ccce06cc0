#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/watch/change_recorder.hpp"
#include "machine/watch/watched_machine.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/SetRegistryKeys.hpp"

namespace benchmarks {

namespace {

using namespace registration::commands;
using fl::filesystem::Path;

/// Of `count` files, fifty in each folder; a list file names twenty of the folders.
Path makeTree(int count) {
  Path const root = workFolder() / fl::i18n::to_ustring("tree-" + std::to_string(count));
  std::string lines;
  for (int folder = 0; folder < count / 50; ++folder) {
    auto const name = "folder-" + std::to_string(folder);
    fl::filesystem::create_directories(root / fl::i18n::to_ustring(name));
    for (int file = 0; file < 50; ++file) {
      makeFile(root / fl::i18n::to_ustring(name) / fl::i18n::to_ustring(std::to_string(file)), "x");
    }
    if (folder < 20) lines += name + "\n";
  }
  makeFile(root / u"product.phl", lines);
  return root;
}

std::list<registryKey> values(int count) {
  std::list<registryKey> list;
  for (int i = 0; i < count; ++i) {
    list.push_back({install::postinstall::localMachineKey(), u"SOFTWARE\\Brantix\\Preview",
                    fl::i18n::to_ustring("value" + std::to_string(i)), u"data"});
  }
  return list;
}

/// What a preview of the two commands holds at its end.
machine::overlay::OverlayMachine::Footprint preview(Path const& root, int valueCount) {
  registration::utility::Options::Values given;
  given.rootPath = given.metadataRootPath = root.ustring();
  registration::utility::Options const options(given);
  machine::overlay::OverlayMachine overlay(machine::current());
  machine::watch::ChangeRecorder recorder(overlay, 65536);
  machine::watch::WatchedMachine watched(overlay, {&recorder});
  machine::ScopedMachine const scope(watched);
  AddVTPathEntriesToMetadataFile(options).execute();
  SetRegistryKeys(options, values(valueCount),
                  install::postinstall::RegistryUtil::getRegistryUtil())
      .execute();
  return overlay.footprint();
}

void print(std::string const& what, machine::overlay::OverlayMachine::Footprint footprint) {
  printFigure(what + ": names", static_cast<double>(footprint.names), "");
  printFigure(what + ": contents", static_cast<double>(footprint.bytes) / 1024, "KiB");
  printFigure("peak memory of the process then", peakMemory(), "MiB");
}

}  // namespace

void previewMemory() {
  Path const small = makeTree(1'000);
  Path const large = makeTree(100'000);
  printFigure("peak memory before", peakMemory(), "MiB");
  print("500 registry values, 1,000 files", preview(small, 500));
  print("500 registry values, 100,000 files", preview(large, 500));
  print("5,000 registry values, 100,000 files", preview(large, 5'000));
}

}  // namespace benchmarks
