#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"
#if !defined(_WIN32)
#include "machine/simulated/simulated_machine.hpp"
#endif

namespace tests {

/// A machine for one test, current while it runs, with an empty folder and a free registry key of
/// its own, both gone afterwards: on Windows the computer itself, elsewhere a fresh simulated one.
class MachineTest : public ::testing::Test {
 protected:
  MachineTest() { makeDirectory(root_); }
  ~MachineTest() override {
#if defined(_WIN32)
    registry().removeKey({machine::RegistryRoot::currentUser, registryPath_});
    removeTree(root_);
#else
    scope_.reset();
    simulated_.reset();
    std::filesystem::remove_all(directory_);
#endif
  }

  machine::Machine& machine() {
    return machine_;
  }
  machine::Files& files() {
    return machine_.files();
  }
  machine::Registry& registry() {
    return machine_.registry();
  }

  /// The test's folder, `C:\...\test-1234abcd`.
  machine::UString const& root() const {
    return root_;
  }
  /// A path in the test's folder; `name` may be several components.
  machine::UString at(std::u16string_view name) const {
    return machine::path_grammar::join(root_, name);
  }
  /// A key below HKEY_CURRENT_USER that does not exist yet.
  machine::UString const& registryPath() const {
    return registryPath_;
  }

  /// Makes the folder and those above it.
  void makeDirectory(machine::UString const& path) {
    if (!files().status(path)) {
      makeDirectory(machine::UString(machine::path_grammar::parent(path)));
      files().createDirectory(path);
    }
  }
  /// Makes the file, or replaces its content; its folder is made when missing.
  void writeFile(machine::UString const& path, std::string_view bytes) {
    makeDirectory(machine::UString(machine::path_grammar::parent(path)));
    auto const writer = files().openForWriting(path, machine::WriteMode::truncate);
    writer->write(bytes);
    writer->close();
  }
  std::string readFile(machine::UString const& path) {
    auto const reader = files().openForReading(path);
    std::string bytes;
    std::array<char, 4096> part{};
    while (std::size_t const count = reader->read(part)) {
      bytes.append(part.data(), count);
    }
    return bytes;
  }
  bool exists(machine::UString const& path) {
    return files().status(path).has_value();
  }

#if !defined(_WIN32)
  /// Where the simulated machine keeps a file of the drive C: on this computer, for what its own
  /// interface cannot make: links, permissions, odd names.
  std::filesystem::path hostPath(machine::UString const& path) const {
    std::filesystem::path host = directory_ / "C";
    for (auto const name : machine::path_grammar::components(path)) {
      host /= machine::toUtf8(name);
    }
    return host;
  }
#endif

 private:
  static std::string uniqueName() {
    std::random_device random;
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "test-%08x", random());
    return name.data();
  }

#if defined(_WIN32)
  void removeTree(machine::UString const& path) {
    auto const status = files().status(path);
    if (!status) {
      return;
    }
    if (!status->isDirectory || status->isLink) {
      status->isDirectory ? files().removeDirectory(path) : files().removeFile(path);
      return;
    }
    std::vector<machine::UString> names;
    {
      auto const listing = files().openDirectory(path);
      for (machine::DirectoryEntry entry; listing->next(entry);) {
        names.emplace_back(entry.name);
      }
    }
    for (auto const& name : names) {
      removeTree(machine::path_grammar::join(path, name));
    }
    files().removeDirectory(path);
  }
#endif

  std::string const name_ = uniqueName();
#if defined(_WIN32)
  machine::Machine& machine_ = machine::current();
  machine::UString const root_ = machine::path_grammar::join(
      machine_.environment().variable(u"TEMP").value(), machine::toUtf16(name_));
#else
  std::filesystem::path const directory_ = std::filesystem::temp_directory_path() / name_;
  std::unique_ptr<machine::simulated::SimulatedMachine> simulated_ =
      (std::filesystem::create_directories(directory_ / "C"),
       std::make_unique<machine::simulated::SimulatedMachine>(directory_));
  machine::Machine& machine_ = *simulated_;
  std::unique_ptr<machine::ScopedMachine> scope_ =
      std::make_unique<machine::ScopedMachine>(machine_);
  machine::UString const root_ = u"C:\\" + machine::toUtf16(name_);
#endif
  machine::UString const registryPath_ = u"Software\\RegistrationTests\\" + machine::toUtf16(name_);
};

}  // namespace tests
