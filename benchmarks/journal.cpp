#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "machine/journal/journal_writer.hpp"
#include "machine/watch/watched_machine.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/SetRegistryKeys.hpp"

namespace benchmarks {

namespace {

using namespace registration::commands;
using fl::filesystem::Path;
using Commands = std::vector<std::unique_ptr<registration::utility::Command>>;

constexpr int components = 100;
constexpr int entriesInComponent = 100;

/// A product's list files, each entry with a folder of its own.
void makeProduct(Path const& root) {
  for (int component = 0; component < components; ++component) {
    Path const folder = root / fl::i18n::to_ustring("component-" + std::to_string(component));
    std::string lines;
    for (int entry = 0; entry < entriesInComponent; ++entry) {
      auto const name = "folder-" + std::to_string(entry);
      fl::filesystem::create_directories(folder / fl::i18n::to_ustring(name));
      lines += "component-" + std::to_string(component) + "\\" + name + "\n";
    }
    makeFile(folder / u"product.phl", lines);
  }
}

std::list<registryKey> records(int count) {
  std::list<registryKey> list;
  for (int i = 0; i < count; ++i) {
    list.push_back({install::postinstall::localMachineKey(), u"SOFTWARE\\Brantix\\Journal",
                    fl::i18n::to_ustring("value" + std::to_string(i)), u"data"});
  }
  return list;
}

registration::utility::Options optionsOf(Path const& root) {
  registration::utility::Options::Values values;
  values.rootPath = values.metadataRootPath = root.ustring();
  return registration::utility::Options(values);
}

/// What an installer does, in the proportions of a product with many files.
Commands installation(Path const& root) {
  auto const options = optionsOf(root);
  auto const& registry = install::postinstall::RegistryUtil::getRegistryUtil();
  Commands commands;
  commands.push_back(std::make_unique<AddVTPathEntriesToMetadataFile>(options));
  commands.push_back(std::make_unique<SetRegistryKeys>(options, records(20), registry));
  return commands;
}

Commands manyValues(Path const& root) {
  Commands commands;
  commands.push_back(std::make_unique<SetRegistryKeys>(
      optionsOf(root), records(1000), install::postinstall::RegistryUtil::getRegistryUtil()));
  return commands;
}

void run(Commands const& commands) {
  for (auto const& command : commands) command->execute();
  for (auto command = commands.rbegin(); command != commands.rend(); ++command) {
    (*command)->undo();
  }
}

void runJournaled(Commands const& commands) {
  auto const file = std::filesystem::temp_directory_path() / "registration-benchmark-journal";
  auto files = file;
  files += ".files";
  std::filesystem::remove(file);
  std::filesystem::remove_all(files);
  {
    machine::journal::JournalWriter writer(file, machine::current(), "benchmark");
    machine::watch::WatchedMachine watched(machine::current(), {&writer});
    machine::ScopedMachine const scope(watched);
    run(commands);
  }
  std::filesystem::remove(file);
  std::filesystem::remove_all(files);
}

void compare(std::string const& what, std::string const& goal, Commands const& commands) {
  printRatio(
      what, goal, 5, [&] { runJournaled(commands); }, [&] { run(commands); });
}

}  // namespace

void writeJournal() {
  Path const root = workFolder() / u"product";
  makeProduct(root);
  compare(
      "path entries of 10,000 folders, 20 registry values, done and undone: with a journal / "
      "without",
      "below 1.5", installation(root));
  compare("1,000 registry values, done and undone: with a journal / without", "none",
          manyValues(root));
}

}  // namespace benchmarks
