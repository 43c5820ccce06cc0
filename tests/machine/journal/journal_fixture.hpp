#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "machine/journal/journal_writer.hpp"
#include "machine/journal/restore.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/task_xml.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tests/support/wine.hpp"

namespace tests {

using namespace machine;

inline std::string bytesOf(std::filesystem::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeBytes(std::filesystem::path const& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

/// File by file: the library's recursive copy refuses a folder that is there.
inline void copyTree(std::filesystem::path const& from, std::filesystem::path const& to) {
  std::filesystem::create_directories(to);
  for (auto const& entry : std::filesystem::directory_iterator(from)) {
    auto const target = to / entry.path().filename();
    if (entry.is_directory()) {
      copyTree(entry.path(), target);
    } else {
      std::filesystem::copy_file(entry.path(), target);
      std::filesystem::last_write_time(target, entry.last_write_time());
    }
  }
}

/// Everything that a simulated machine's folder holds, but for what is only counted and for the
/// record of what was started and called: names, contents, and "(read-only)".
inline std::map<std::string, std::string> snapshot(std::filesystem::path const& directory) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> tree;
  for (auto const& entry : fs::recursive_directory_iterator(directory)) {
    auto const name = entry.path().lexically_relative(directory).generic_string();
    bool const isReadOnly =
        (entry.status().permissions() & fs::perms::owner_write) == fs::perms::none;
    tree[name] = entry.is_directory() ? "(folder)"
                                      : (isReadOnly ? "(read-only)" : "") + bytesOf(entry.path());
  }
  for (auto const* record : {"processes.json", "modules.json", "shell.json"}) tree.erase(record);
  auto environment = nlohmann::json::parse(tree.at("environment.json"));
  environment.erase("settingChangeBroadcasts");
  tree["environment.json"] = environment.dump();
  auto services = nlohmann::json::parse(tree.at("services.json"));
  for (auto& service : services["services"]) service.erase("starts");
  tree["services.json"] = services.dump();
  return tree;
}

/// When the files of the machine's drives were last written.
inline std::map<std::string, std::string> writeTimes(std::filesystem::path const& directory) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> times;
  for (auto const& entry : fs::recursive_directory_iterator(directory / "C")) {
    if (!entry.is_regular_file() || entry.is_symlink()) continue;
    // In the unit that the machine counts in.
    auto const time = std::chrono::file_clock::to_sys(entry.last_write_time()).time_since_epoch();
    auto const ticks =
        std::chrono::floor<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>(time);
    times[entry.path().lexically_relative(directory).generic_string()] =
        std::to_string(ticks.count());
  }
  return times;
}

/// What differs, for a message that can be read.
inline std::string difference(std::map<std::string, std::string> const& expected,
                              std::map<std::string, std::string> const& actual) {
  std::string text;
  for (auto const& [name, content] : expected) {
    auto const found = actual.find(name);
    if (found == actual.end()) {
      text += name + " is missing\n";
    } else if (found->second != content) {
      text += name + " was\n" + content.substr(0, 4000) + "\nis\n" + found->second.substr(0, 4000) +
              "\n";
    }
  }
  for (auto const& [name, content] : actual) {
    if (!expected.contains(name)) text += name + " is too much\n";
  }
  return text;
}

inline void write(Machine& machine, std::u16string_view path, std::string_view bytes,
                  WriteMode mode = WriteMode::truncate) {
  auto const writer = machine.files().openForWriting(path, mode);
  writer->write(bytes);
  writer->close();
}

inline TaskDefinition taskOf(UString program) {
  TaskDefinition task;
  task.application = std::move(program);
  return task;
}

inline ServiceDefinition serviceOf(UString program) {
  ServiceDefinition service;
  service.commandLine = std::move(program);
  service.recovery.actions = {{ServiceRecovery::Kind::restart, std::chrono::minutes(1)}};
  return service;
}

inline Shortcut shortcutTo(UString program) {
  Shortcut shortcut;
  shortcut.target = std::move(program);
  return shortcut;
}

inline RegistryKey software(UString path) {
  return {RegistryRoot::localMachine, u"SOFTWARE\\" + path};
}

/// A machine with something of every kind.
inline void prepare(Machine& machine) {
  auto& files = machine.files();
  for (auto const* folder :
       {u"C:\\d", u"C:\\d\\empty", u"C:\\d\\sub", u"C:\\d\\sub\\sub", u"C:\\d\\becomes file"}) {
    files.createDirectory(folder);
  }
  write(machine, u"C:\\tool.exe", "program");
  write(machine, u"C:\\d\\short", "short");
  write(machine, u"C:\\d\\long", std::string(10000, 'l') + '\0' + "\xff");
  write(machine, u"C:\\d\\read-only", "kept from writing");
  files.setReadOnly(u"C:\\d\\read-only", true);
  write(machine, u"C:\\d\\sub\\a", "a");
  write(machine, u"C:\\d\\sub\\sub\\b", std::string(5000, 'b'));
  write(machine, u"C:\\d\\becomes folder", "file");
  machine.shell().writeShortcut(u"C:\\d\\old.lnk", shortcutTo(u"C:\\tool.exe"));
  machine.shell().writeShortcut(u"C:\\d\\gone.lnk", shortcutTo(u"C:\\tool.exe"));
  write(machine, u"C:\\d\\text.lnk", "no shortcut");

  auto& registry = machine.registry();
  registry.setValue(software(u"K"), u"", RegistryValue::ofText(u"default"));
  registry.setValue(software(u"K"), u"dword", RegistryValue::ofDword(7));
  registry.setValue(software(u"K"), u"odd", {RegistryType::string, "odd"});
  registry.setValue(software(u"K\\Sub"), u"expand",
                    RegistryValue::ofText(u"%A%", RegistryType::expandableString));
  registry.setValue(software(u"K\\Sub\\Sub"), u"list", {RegistryType::multiString, "a\0\0\0"});
  registry.setValue(software(u"K\\Sub\\Sub"), u"own", {static_cast<RegistryType>(99), "\x01"});
  registry.createKey(software(u"K\\Sub\\Empty"));
  machine.environment().setVariable(u"OLD", u"old");
  machine.environment().setVariable(u"GONE", u"gone");

  machine.tasks().createOrReplace(u"Own", taskOf(u"C:\\tool.exe"));
  machine.tasks().registerDocument(
      u"Others\\Task",
      u"<Task><Triggers><TimeTrigger/></Triggers><Actions><Exec><Command>x</Command></Exec>"
      u"</Actions></Task>");
  for (auto const* name : {u"Running", u"Stopped", u"Removed"}) {
    machine.services().set(name, serviceOf(u"C:\\tool.exe"));
  }
  machine.services().start(u"Running", {});
  machine.services().start(u"Removed", {});
}

/// Changes something of every kind in every way, some of it more than once.
inline void changeMuch(Machine& machine) {
  auto& files = machine.files();
  write(machine, u"C:\\d\\short", " and more", WriteMode::append);
  write(machine, u"C:\\d\\short", "other");
  write(machine, u"C:\\d\\long.tmp", std::string(20000, 'n'), WriteMode::createNew);
  files.rename(u"C:\\d\\long.tmp", u"C:\\d\\long", true);
  files.removeFile(u"C:\\d\\read-only");
  write(machine, u"C:\\d\\read-only", "written");
  files.removeDirectory(u"C:\\d\\empty");
  files.rename(u"C:\\d\\sub", u"C:\\d\\moved", false);
  files.removeFile(u"C:\\d\\moved\\a");
  files.createDirectory(u"C:\\new");
  files.createDirectory(u"C:\\new\\new");
  write(machine, u"C:\\new\\new\\file", "new");
  files.setReadOnly(u"C:\\new\\new\\file", true);
  files.removeDirectory(u"C:\\d\\becomes file");
  write(machine, u"C:\\d\\becomes file", "file");
  files.removeFile(u"C:\\d\\becomes folder");
  files.createDirectory(u"C:\\d\\becomes folder");
  write(machine, u"C:\\d\\becomes folder\\file", "file");
  files.lock(u"C:\\d\\lock", std::chrono::milliseconds(0));
  machine.shell().writeShortcut(u"C:\\d\\old.lnk", shortcutTo(u"C:\\other.exe"));
  machine.shell().writeShortcut(u"C:\\d\\new.lnk", shortcutTo(u"C:\\other.exe"));
  machine.shell().writeShortcut(u"C:\\d\\text.lnk", shortcutTo(u"C:\\other.exe"));
  files.removeFile(u"C:\\d\\gone.lnk");

  auto& registry = machine.registry();
  registry.setText(software(u"K"), u"", u"changed");
  registry.setText(software(u"K\\Sub"), u"expand", u"%B%");
  registry.setValue(software(u"K"), u"DWORD", RegistryValue::ofText(u"now a text"));
  registry.removeValue(software(u"K"), u"odd");
  registry.removeKey(software(u"K\\Sub"));
  registry.createKey(software(u"K\\Sub"));
  registry.setText(software(u"New\\New"), u"value", u"new");
  registry.setText(software(u"New\\Gone"), u"value", u"new");
  registry.removeKey(software(u"New\\Gone"));
  machine.environment().setVariable(u"OLD", u"new");
  machine.environment().removeVariable(u"GONE");
  machine.environment().setVariable(u"NEW", u"new");
  machine.environment().broadcastSettingChange();

  machine.tasks().stopAndDisable(u"Own");
  machine.tasks().createOrReplace(u"Others\\Task", taskOf(u"C:\\tool.exe"));
  machine.tasks().createOrReplace(u"New", taskOf(u"C:\\tool.exe"));
  machine.tasks().remove(u"own");
  machine.services().stop(u"Running", {});
  machine.services().set(u"Running", serviceOf(u"C:\\d\\short"));
  machine.services().start(u"Stopped", {});
  machine.services().stop(u"Removed", {});
  machine.services().remove(u"Removed");
  machine.services().set(u"NewService", serviceOf(u"C:\\tool.exe"));
  machine.services().start(u"NewService", {});
  machine.processes().shellExecute(u"C:\\tool.exe", u"-a");
}

/// A simulated machine with something of every kind, and room for a journal beside it.
class JournalTest : public testing::Test {
 protected:
  JournalTest() {
    simulated::SimulatedMachine machine(directory());
    prepare(machine);
    machine.save();
    start_ = snapshot(directory());
    startTimes_ = writeTimes(directory());
  }

  std::filesystem::path directory() const { return folder_.path() / "machine"; }
  std::filesystem::path journal() const { return folder_.path() / "journal"; }
  std::map<std::string, std::string> const& start() const { return start_; }
  std::map<std::string, std::string> const& startTimes() const { return startTimes_; }

  /// Runs changes under a journal.
  template <class Changes>
  void change(Changes const& changes) {
    simulated::SimulatedMachine machine(directory());
    journal::JournalWriter writer(journal(), machine, "test");
    watch::WatchedMachine watched(machine, {&writer});
    changes(watched);
  }
  /// Takes them back in a machine opened anew.
  journal::RestoreReport restore(bool force = false) {
    simulated::SimulatedMachine machine(directory());
    return journal::restore(journal::readJournal(journal()), machine, {force});
  }
  static journal::RestoreStep const& stepOf(journal::RestoreReport const& report,
                                            std::u16string_view where,
                                            std::u16string_view value = {}) {
    for (auto const& step : report.steps) {
      if (step.item.where == where && step.item.value == value) return step;
    }
    throw std::out_of_range(toUtf8(where));
  }
  void expectStart() const {
    EXPECT_EQ(difference(start_, snapshot(directory())), "");
    EXPECT_EQ(difference(startTimes_, writeTimes(directory())), "");
  }

 private:
  TemporaryFolder folder_;
  std::map<std::string, std::string> start_;
  std::map<std::string, std::string> startTimes_;
};

/// The steps that did not go well, for messages.
inline std::string troubles(journal::RestoreReport const& report) {
  std::string text;
  for (auto const& step : report.steps) {
    if (step.outcome == journal::RestoreStep::Outcome::restored ||
        step.outcome == journal::RestoreStep::Outcome::already) {
      continue;
    }
    text += toUtf8(step.item.where) + " [" + toUtf8(step.item.value) +
            "]: " + std::to_string(static_cast<int>(step.outcome)) + " " + step.reason + "\n";
  }
  return text;
}

}  // namespace tests
