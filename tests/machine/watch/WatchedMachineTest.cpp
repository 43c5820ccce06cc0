#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>

#include "machine/simulated/simulated_machine.hpp"
#include "machine/task_xml.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/recorded_changes.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::watch {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

class WatchedMachineTest : public testing::Test {
 protected:
  void write(std::u16string_view path, std::string_view bytes = "bytes") {
    auto const writer = inner_.files().openForWriting(path, WriteMode::truncate);
    writer->write(bytes);
    writer->close();
  }
  static TaskDefinition task() {
    TaskDefinition definition;
    definition.application = u"C:\\tool.exe";
    return definition;
  }
  static ServiceDefinition service() {
    ServiceDefinition definition;
    definition.commandLine = u"C:\\tool.exe";
    return definition;
  }
  static ProcessStart program() {
    ProcessStart start;
    start.program = u"C:\\tool.exe";
    start.arguments = {u"-a", u"b c"};
    return start;
  }
  Lines heard() { return recorded_.take(); }
  static RegistryKey key(UString path) { return {RegistryRoot::localMachine, std::move(path)}; }

  tests::TemporaryFolder directory_;
  simulated::SimulatedMachine inner_{directory_.path()};
  tests::FaultyMachine faulty_{inner_};
  tests::RecordedChanges recorded_;
  WatchedMachine machine_{faulty_, {&recorded_}};
  Shortcut const shortcut_{u"C:\\tool.exe", {}, {}, {}, {}, 0, WindowState::normal, false, false};
};

TEST_F(WatchedMachineTest, AWriterIsToldWhenOpenedAndWhenClosed) {
  auto const writer = machine_.files().openForWriting(u"C:\\a", WriteMode::createNew);
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a"));
  writer->write("bytes");
  writer->flushToDisk();
  EXPECT_THAT(heard(), IsEmpty());
  writer->close();
  EXPECT_THAT(heard(), ElementsAre("changed file C:\\a"));
}

TEST_F(WatchedMachineTest, AWriterLeftOpenIsToldWhenItIsDestroyed) {
  machine_.files().openForWriting(u"C:\\a", WriteMode::createNew);
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a", "changed file C:\\a"));
}

TEST_F(WatchedMachineTest, AnOperationThatFailsIsToldToHaveEnded) {
  faulty_.faults().failWhen([](auto operation, auto) { return operation == "openForWriting"; },
                            ErrorCode::accessDenied);
  EXPECT_THROW(machine_.files().openForWriting(u"C:\\a", WriteMode::createNew), SystemError);
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a", "changed file C:\\a"));
}

TEST_F(WatchedMachineTest, PathsAreToldAbsoluteAndInOneSpelling) {
  inner_.files().createDirectory(u"C:\\folder");
  inner_.files().setCurrentDirectory(u"C:\\folder");
  machine_.files().openForWriting(u"sub/../a", WriteMode::createNew);
  EXPECT_EQ(heard().front(), "about file C:\\folder\\a");
  machine_.files().removeFile(u"\\\\?\\C:\\folder\\a");
  EXPECT_EQ(heard().front(), "about file C:\\folder\\a");
}

TEST_F(WatchedMachineTest, AFolderIsToldOnlyWhenItIsMade) {
  machine_.files().createDirectory(u"C:\\folder");
  EXPECT_THAT(heard(), ElementsAre("about folder C:\\folder", "changed folder C:\\folder"));
  machine_.files().createDirectory(u"C:\\folder");
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WatchedMachineTest, RemovingIsToldOfWhatIsThere) {
  write(u"C:\\a");
  inner_.files().createDirectory(u"C:\\folder");
  inner_.shell().writeShortcut(u"C:\\s.lnk", shortcut_);
  write(u"C:\\text.lnk");
  for (auto const* file : {u"C:\\a", u"C:\\s.lnk", u"C:\\text.lnk", u"C:\\none"}) {
    machine_.files().removeFile(file);
  }
  machine_.files().removeDirectory(u"C:\\folder");
  machine_.files().removeDirectory(u"C:\\none");
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a", "changed file C:\\a",  //
                                   "about shortcut C:\\s.lnk", "changed shortcut C:\\s.lnk",
                                   "about file C:\\text.lnk", "changed file C:\\text.lnk",
                                   "about folder C:\\folder", "changed folder C:\\folder"));
}

TEST_F(WatchedMachineTest, ARenamedFileIsToldUnderBothNames) {
  write(u"C:\\a");
  machine_.files().rename(u"C:\\a", u"C:\\b", false);
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a", "about file C:\\b",  //
                                   "changed file C:\\a", "changed file C:\\b"));
}

TEST_F(WatchedMachineTest, ARenamedFolderIsToldWithAllThatMoves) {
  inner_.files().createDirectory(u"C:\\old");
  inner_.files().createDirectory(u"C:\\old\\sub");
  write(u"C:\\old\\sub\\a");
  machine_.files().rename(u"C:\\old", u"C:\\new", false);
  auto lines = heard();
  lines.resize(6);
  EXPECT_THAT(lines, ElementsAre("about file C:\\old\\sub\\a", "about folder C:\\old\\sub",
                                 "about folder C:\\old", "about folder C:\\new",
                                 "about folder C:\\new\\sub", "about file C:\\new\\sub\\a"));
}

TEST_F(WatchedMachineTest, ALockIsToldWhenItMakesItsFile) {
  auto lock = machine_.files().lock(u"C:\\a", std::chrono::milliseconds(0));
  EXPECT_THAT(heard(), ElementsAre("about file C:\\a", "changed file C:\\a"));
  lock.reset();
  machine_.files().lock(u"C:\\a", std::chrono::milliseconds(0));
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WatchedMachineTest, KeysAreToldThatAreMadeOnTheWay) {
  machine_.registry().createKey(key(u"SOFTWARE\\A\\\\B"));
  EXPECT_THAT(heard(), ElementsAre("about key HKEY_LOCAL_MACHINE\\SOFTWARE\\A",
                                   "about key HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B",
                                   "changed key HKEY_LOCAL_MACHINE\\SOFTWARE\\A",
                                   "changed key HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B"));
  machine_.registry().createKey(key(u"SOFTWARE\\A"));
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WatchedMachineTest, AValueIsToldAfterTheKeysItNeeds) {
  machine_.registry().setValue(key(u"SOFTWARE\\A"), u"N", RegistryValue::ofDword(1));
  auto lines = heard();
  lines.resize(2);
  EXPECT_THAT(lines, ElementsAre("about key HKEY_LOCAL_MACHINE\\SOFTWARE\\A",
                                 "about value HKEY_LOCAL_MACHINE\\SOFTWARE\\A [N]"));
  machine_.registry().setText(key(u"SOFTWARE\\A"), u"", u"text");
  EXPECT_THAT(heard(), ElementsAre("about value HKEY_LOCAL_MACHINE\\SOFTWARE\\A []",
                                   "changed value HKEY_LOCAL_MACHINE\\SOFTWARE\\A []"));
}

TEST_F(WatchedMachineTest, ARemovedKeyIsToldWithAllBelowDeepestFirst) {
  inner_.registry().setText(key(u"SOFTWARE\\A\\B"), u"deep", u"1");
  inner_.registry().setText(key(u"SOFTWARE\\A"), u"N", u"1");
  machine_.registry().removeKey(key(u"SOFTWARE\\A"));
  auto lines = heard();
  lines.resize(4);
  EXPECT_THAT(lines, ElementsAre("about value HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B [deep]",
                                 "about key HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B",
                                 "about value HKEY_LOCAL_MACHINE\\SOFTWARE\\A [N]",
                                 "about key HKEY_LOCAL_MACHINE\\SOFTWARE\\A"));
  machine_.registry().removeKey(key(u"SOFTWARE\\A"));
  machine_.registry().removeValue(key(u"SOFTWARE\\A"), u"N");
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WatchedMachineTest, AChildsOutputFileIsToldUntilTheChildHasEnded) {
  write(u"C:\\tool.exe");
  auto start = program();
  start.standardOutput = {ProcessOutput::Kind::overwriteFile, u"C:\\out", {}};
  auto const child = machine_.processes().start(start);
  EXPECT_THAT(heard(),
              ElementsAre("hand over program C:\\tool.exe -a \"b c\"", "about file C:\\out"));
  child->wait();
  EXPECT_THAT(heard(), ElementsAre("changed file C:\\out"));
}

TEST_F(WatchedMachineTest, TheCallersErrorIsNotTheObservers) {
  struct Reader final : ChangeObserver {
    explicit Reader(Machine& machine) : machine_(machine) {}
    void aboutToChange(Item const&) override {}
    void changed(Item const&) override { machine_.environment().variable(u"missing"); }
    void aboutToHandOver(HandOver const&) override {}
    Machine& machine_;
  } reader(inner_);
  WatchedMachine watched(inner_, {&reader});
  EXPECT_TRUE(watched.environment().setVariable(u"A", u"1"));
  EXPECT_EQ(watched.environment().lastError(), 0u);
  EXPECT_FALSE(watched.environment().setVariable(u"", u"1"));
  EXPECT_EQ(watched.environment().lastError(), 87u);
}

/// Refuses the n-th item from now on.
class Refusing final : public ChangeObserver {
 public:
  explicit Refusing(int n) : left_(n) {}
  void aboutToChange(Item const&) override {
    if (--left_ == 0) throw SystemError("write", u"journal", ErrorCode::diskFull);
  }
  void changed(Item const&) override { ++changed_; }
  void aboutToHandOver(HandOver const&) override {
    throw SystemError("write", u"journal", ErrorCode::diskFull);
  }
  int changed_ = 0;

 private:
  int left_;
};

TEST_F(WatchedMachineTest, WhatAnObserverThrowsKeepsTheOperationFromHappening) {
  write(u"C:\\a");
  Refusing refusing(2);
  WatchedMachine watched(inner_, {&recorded_, &refusing});
  EXPECT_THROW(watched.files().rename(u"C:\\a", u"C:\\b", false), SystemError);
  EXPECT_TRUE(inner_.files().status(u"C:\\a"));
  EXPECT_FALSE(inner_.files().status(u"C:\\b"));
  EXPECT_EQ(refusing.changed_, 2);
  EXPECT_THROW(watched.processes().shellExecute(u"C:\\a", u""), SystemError);
  inner_.save();
  std::ifstream processes(directory_.path() / "processes.json");
  std::string const text{std::istreambuf_iterator<char>(processes), {}};
  EXPECT_EQ(text.find("C:\\\\a"), std::string::npos);
}

TEST_F(WatchedMachineTest, OnceAllItemsAreAnnouncedTheOperationCanStillBeRefused) {
  struct Counting final : ChangeObserver {
    void aboutToChange(Item const&) override { ++items; }
    void allAnnounced() override {
      ++operations;
      if (operations == 2) throw SystemError("write", u"journal", ErrorCode::diskFull);
    }
    void changed(Item const&) override {}
    void aboutToHandOver(HandOver const&) override {}
    int items = 0;
    int operations = 0;
  } counting;
  WatchedMachine watched(inner_, {&counting});
  watched.registry().setText(key(u"SOFTWARE\\A\\B"), u"N", u"text");
  EXPECT_EQ(counting.items, 3);
  EXPECT_EQ(counting.operations, 1);
  EXPECT_THROW(watched.registry().setText(key(u"SOFTWARE\\A\\B"), u"N", u"other"), SystemError);
  EXPECT_EQ(inner_.registry().value(key(u"SOFTWARE\\A\\B"), u"N"), RegistryValue::ofText(u"text"));
  watched.registry().removeValue(key(u"SOFTWARE\\A\\B"), u"missing");
  EXPECT_EQ(counting.operations, 2);
}

TEST_F(WatchedMachineTest, WhatAnObserverThrowsAfterwardsComesOut) {
  struct Failing final : ChangeObserver {
    void aboutToChange(Item const&) override {}
    void changed(Item const&) override { throw std::runtime_error("afterwards"); }
    void aboutToHandOver(HandOver const&) override {}
  } failing;
  WatchedMachine watched(inner_, {&failing, &recorded_});
  EXPECT_THROW(watched.files().createDirectory(u"C:\\folder"), std::runtime_error);
  EXPECT_TRUE(inner_.files().status(u"C:\\folder"));
  EXPECT_THAT(heard(), ElementsAre("about folder C:\\folder", "changed folder C:\\folder"));
  EXPECT_NO_THROW(watched.files().openForWriting(u"C:\\a", WriteMode::createNew));
}

// Every operation of the interface is in one of two lists. An operation that is added to it makes
// the test fail until it is here, too.

using Changing = std::map<std::string, std::pair<std::function<void(Machine&)>, Lines>>;

Changing changingOperations(RegistryKey const& key, TaskDefinition const& task,
                            ServiceDefinition const& service, ProcessStart const& program,
                            Shortcut const& shortcut) {
  Item const value = itemOf(key, u"N");
  auto const both = [](std::string const& name) {
    return Lines{"about " + name, "changed " + name};
  };
  std::chrono::milliseconds const timeout(1);
  std::string const keyName = toUtf8(value.where);
  return {
      {"Files::openForWriting",
       {[](Machine& m) { m.files().openForWriting(u"C:\\new", WriteMode::truncate); },
        both("file C:\\new")}},
      {"Files::createDirectory",
       {[](Machine& m) { m.files().createDirectory(u"C:\\new"); }, both("folder C:\\new")}},
      {"Files::claimDirectory",
       {[](Machine& m) { m.files().claimDirectory(u"C:\\new"); }, both("folder C:\\new")}},
      {"Files::removeFile",
       {[](Machine& m) { m.files().removeFile(u"C:\\tool.exe"); }, both("file C:\\tool.exe")}},
      {"Files::removeDirectory",
       {[](Machine& m) { m.files().removeDirectory(u"C:\\folder"); }, both("folder C:\\folder")}},
      {"Files::rename",
       {[](Machine& m) { m.files().rename(u"C:\\tool.exe", u"C:\\new", false); },
        {"about file C:\\tool.exe", "about file C:\\new", "changed file C:\\tool.exe",
         "changed file C:\\new"}}},
      {"Files::createLink",
       {[](Machine& m) {
          try {
            m.files().createLink(u"C:\\link", {u"tool.exe", false, false});
          } catch (SystemError const&) {
            // A host that makes no links.
          }
        },
        both("file C:\\link")}},
      {"Files::setAttributes",
       {[](Machine& m) { m.files().setReadOnly(u"C:\\tool.exe", true); },
        both("file C:\\tool.exe")}},
      {"Files::lock",
       {[=](Machine& m) { m.files().lock(u"C:\\new", timeout); }, both("file C:\\new")}},
      {"Registry::createKey",
       {[=](Machine& m) {
          m.registry().createKey({key.root, key.path + u"\\new"});
        },
        both("key " + keyName + "\\new")}},
      {"Registry::setValue",
       {[=](Machine& m) { m.registry().setValue(key, u"N", RegistryValue::ofDword(1)); },
        both("value " + keyName + " [N]")}},
      {"Registry::setText",
       {[=](Machine& m) { m.registry().setText(key, u"N", u"text"); },
        both("value " + keyName + " [N]")}},
      {"Registry::removeValue",
       {[=](Machine& m) { m.registry().removeValue(key, u"there"); },
        both("value " + keyName + " [there]")}},
      {"Registry::removeKey",
       {[=](Machine& m) { m.registry().removeKey(key); },
        {"about value " + keyName + " [there]", "about key " + keyName,
         "changed value " + keyName + " [there]", "changed key " + keyName}}},
      {"Registry::removeEmptyKey",
       {[=](Machine& m) { m.registry().removeEmptyKey(key); }, both("key " + keyName)}},
      {"Environment::setVariable",
       {[](Machine& m) { m.environment().setVariable(u"A", u"1"); }, both("variable A")}},
      {"Environment::removeVariable",
       {[](Machine& m) { m.environment().removeVariable(u"Path"); }, both("variable Path")}},
      {"Shell::writeShortcut",
       {[=](Machine& m) { m.shell().writeShortcut(u"C:\\s.lnk", shortcut); },
        both("shortcut C:\\s.lnk")}},
      {"Tasks::createOrReplace",
       {[=](Machine& m) { m.tasks().createOrReplace(u"Folder\\In\\New", task); },
        {"about task folder Folder\\In", "about task Folder\\In\\New",
         "changed task folder Folder\\In", "changed task Folder\\In\\New"}}},
      {"Tasks::registerDocument",
       {[=](Machine& m) { m.tasks().registerDocument(u"New", taskXml(task)); }, both("task New")}},
      {"Tasks::stopAndDisable",
       {[](Machine& m) { m.tasks().stopAndDisable(u"There"); }, both("task There")}},
      {"Tasks::remove", {[](Machine& m) { m.tasks().remove(u"There"); }, both("task There")}},
      {"Tasks::removeFolder",
       {[](Machine& m) { m.tasks().removeFolder(u"Folder"); }, both("task folder Folder")}},
      {"Services::set",
       {[=](Machine& m) { m.services().set(u"New", service); }, both("service New")}},
      {"Services::remove",
       {[](Machine& m) { m.services().remove(u"There"); }, both("service There")}},
      {"Services::start",
       {[=](Machine& m) { m.services().start(u"There", timeout); }, both("service There")}},
      {"Services::stop",
       {[=](Machine& m) { m.services().stop(u"There", timeout); }, both("service There")}},
      {"Processes::start",
       {[=](Machine& m) { m.processes().start(program); },
        {"hand over program C:\\tool.exe -a \"b c\""}}},
      {"Processes::shellExecute",
       {[](Machine& m) { m.processes().shellExecute(u"C:\\tool.exe", u"-a"); },
        {"hand over shell program C:\\tool.exe -a"}}},
      {"Modules::callEntryPoint",
       {[](Machine& m) {
          m.modules().callEntryPoint(u"C:\\tool.exe", u"C:\\tool.exe", "Entry", {});
        },
        {"hand over module C:\\tool.exe Entry"}}},
      {"Modules::admitBundles",
       {[](Machine& m) { m.modules().admitBundles(u"C:\\folder", {}); },
        {"hand over bundles C:\\folder "}}},
  };
}

std::vector<std::string> const otherOperations{
    "Files::status", "Files::openDirectory", "Files::openForReading", "Files::currentDirectory",
    "Files::setCurrentDirectory", "Files::fileVersion", "Files::link", "Files::foreignAccess",
    "FileReader::foreignAccess", "Environment::account", "Registry::keyExists", "Registry::value",
    "Registry::subkeys", "Registry::values", "Environment::variable",
    "Environment::broadcastSettingChange", "Environment::lastError", "Shell::knownFolder",
    "Shell::readShortcut", "Shell::announceAssociationsChanged", "Tasks::task", "Tasks::document",
    "Tasks::folderExists", "Services::definition", "Services::state", "Downloads::get",
    "Clock::now", "MachineLock::acquire",
    // Of what an operation handed out:
    "DirectoryStream::next", "FileReader::read", "FileReader::seek", "FileWriter::write",
    "FileWriter::flushToDisk", "FileWriter::close", "ChildProcess::wait", "ChildProcess::detach",
    // The parts themselves:
    "Machine::files", "Machine::registry", "Machine::environment", "Machine::shell",
    "Machine::processes", "Machine::modules", "Machine::tasks", "Machine::services",
    "Machine::downloads", "Machine::clock", "Machine::lock"};

/// "Class::operation" of every virtual function that a header declares, destructors left out.
void addOperations(std::filesystem::path const& header, std::vector<std::string>& operations) {
  std::ifstream file(header);
  ASSERT_TRUE(file) << header;
  std::string className;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("class ")) {
      auto const words = line.substr(6, line.find_last_not_of(" {") - 5);
      className = words.substr(words.rfind(' ') + 1);
    }
    auto const at = line.find("  virtual ");
    auto const end = line.find('(');
    if (at == line.npos || end == line.npos || line.find('~') != line.npos) continue;
    auto const begin = line.rfind(' ', end) + 1;
    operations.push_back(className + "::" + line.substr(begin, end - begin));
  }
}

class WatchedInterface : public WatchedMachineTest {
 protected:
  static void prepare(Machine& machine) {
    machine.files().openForWriting(u"C:\\tool.exe", WriteMode::createNew)->write("Entry");
    machine.files().createDirectory(u"C:\\folder");
    machine.registry().setText(key(u"SOFTWARE\\A"), u"there", u"1");
    machine.tasks().createOrReplace(u"There", task());
    machine.tasks().createOrReplace(u"Folder\\Gone", task());
    machine.tasks().remove(u"Folder\\Gone");
    machine.services().set(u"There", service());
  }
  Changing changing() const {
    return changingOperations({RegistryRoot::localMachine, u"SOFTWARE\\A"}, task(), service(),
                              program(), shortcut_);
  }
};

TEST_F(WatchedInterface, EveryOperationIsKnownToChangeOrNotTo) {
  std::vector<std::string> declared;
  for (auto const* header : {"files.hpp", "registry.hpp", "environment.hpp", "shell.hpp",
                             "processes.hpp", "modules.hpp", "tasks.hpp", "services.hpp",
                             "downloads.hpp", "clock.hpp", "machine_lock.hpp", "machine.hpp"}) {
    addOperations(std::filesystem::path(MACHINE_FOLDER) / header, declared);
  }
  auto known = otherOperations;
  for (auto const& [name, operation] : changing()) known.push_back(name);
  EXPECT_THAT(declared, testing::UnorderedElementsAreArray(known));
}

TEST_F(WatchedInterface, EveryChangingOperationIsAnnounced) {
  for (auto const& [name, operation] : changing()) {
    tests::TemporaryFolder const directory;
    simulated::SimulatedMachine machine(directory.path());
    prepare(machine);
    WatchedMachine watched(machine, {&recorded_});
    operation.first(watched);
    EXPECT_EQ(heard(), operation.second) << name;
  }
}

}  // namespace
}  // namespace machine::watch
