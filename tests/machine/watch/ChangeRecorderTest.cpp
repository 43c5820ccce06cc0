#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/simulated/simulated_machine.hpp"
#include "machine/watch/change_recorder.hpp"
#include "machine/watch/watched_machine.hpp"
#include "machine/whole_file.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::watch {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Of "old" and "new": printf new | sha256sum.
constexpr char const* hashOfOld =
    "cba06b5736faf67e54b07b561eae94395e774c517a7d910a54369e1263ccfbd4";
constexpr char const* hashOfNew =
    "11507a0e2f5e69d5dfa40a62a1bd7b6ee57e6bcd85c67c9b8431b36fff21c437";

class ChangeRecorderTest : public testing::Test {
 protected:
  void write(Machine& machine, std::u16string_view path, std::string_view bytes) {
    auto const writer = machine.files().openForWriting(path, WriteMode::truncate);
    writer->write(bytes);
    writer->close();
  }
  static Item file(UString path) { return {Item::Kind::file, std::move(path), {}}; }
  static FileContent content(std::string bytes, std::string hash) {
    auto const size = bytes.size();
    return {size, std::move(hash), std::move(bytes), false};
  }

  tests::TemporaryFolder directory_;
  simulated::SimulatedMachine inner_{directory_.path()};
  ChangeRecorder recorder_{inner_, 4};
  WatchedMachine machine_{inner_, {&recorder_}};
};

TEST_F(ChangeRecorderTest, TellsEachItemOnceInTheOrderOfTheFirstTouch) {
  write(inner_, u"C:\\a", "old");
  machine_.files().createDirectory(u"C:\\folder");
  write(machine_, u"C:\\a", "between");
  machine_.registry().setValue({RegistryRoot::localMachine, u"SOFTWARE"}, u"N",
                               RegistryValue::ofDword(1));
  write(machine_, u"C:\\A", "new");
  EXPECT_THAT(
      recorder_.changes(),
      ElementsAre(Change{{Item::Kind::folder, u"C:\\folder", {}}, {}, Existing{}},
                  Change{file(u"C:\\a"), content("old", hashOfOld), content("new", hashOfNew)},
                  Change{{Item::Kind::registryValue, u"HKEY_LOCAL_MACHINE\\SOFTWARE", u"N"},
                         {},
                         RegistryValue::ofDword(1)}));
}

TEST_F(ChangeRecorderTest, WhatWasPutBackIsNoChange) {
  write(inner_, u"C:\\a", "old");
  write(machine_, u"C:\\temporary", "bytes");
  machine_.files().removeFile(u"C:\\temporary");
  replaceFile(machine_.files(), u"C:\\a", "new");
  replaceFile(machine_.files(), u"C:\\a", "old");
  machine_.registry().setText({RegistryRoot::localMachine, u"SOFTWARE\\A"}, u"", u"x");
  machine_.registry().removeKey({RegistryRoot::localMachine, u"SOFTWARE\\A"});
  EXPECT_THAT(recorder_.changes(), IsEmpty());
}

TEST_F(ChangeRecorderTest, NothingHasChangedWhereAllIsAsItWas) {
  write(machine_, u"C:\\a", "1");
  recorder_.startAnew();
  write(machine_, u"C:\\a", "1");
  EXPECT_FALSE(recorder_.hasChanged());
}

TEST_F(ChangeRecorderTest, LongContentsAreToldBySizeAndHashOnly) {
  write(machine_, u"C:\\a", "12345");
  auto const changes = recorder_.changes();
  ASSERT_EQ(changes.size(), 1u);
  auto const& after = std::get<FileContent>(changes[0].after);
  EXPECT_EQ(after.size, 5u);
  EXPECT_EQ(after.sha256, "5994471abb01112afcc18159f6cc74b4f511b99806da59b3caf5a9c173cacfc5");
  EXPECT_EQ(after.bytes, std::nullopt);
}

TEST_F(ChangeRecorderTest, AFileInThePlaceOfAFolderIsOneChange) {
  inner_.files().createDirectory(u"C:\\x");
  machine_.files().removeDirectory(u"C:\\x");
  write(machine_, u"C:\\x", "new");
  EXPECT_THAT(recorder_.changes(),
              ElementsAre(Change{
                  {Item::Kind::folder, u"C:\\x", {}}, Existing{}, content("new", hashOfNew)}));
}

TEST_F(ChangeRecorderTest, EveryKindOfItemIsToldWithItsStates) {
  write(inner_, u"C:\\tool.exe", "new");
  Shortcut shortcut;
  shortcut.target = u"C:\\tool.exe";
  TaskDefinition task;
  task.application = u"C:\\tool.exe";
  ServiceDefinition service;
  service.commandLine = u"C:\\tool.exe";
  machine_.shell().writeShortcut(u"C:\\s.lnk", shortcut);
  machine_.tasks().createOrReplace(u"Task", task);
  machine_.services().set(u"Service", service);
  machine_.services().start(u"Service", std::chrono::milliseconds(0));
  machine_.environment().setVariable(u"A", u"1");
  machine_.registry().createKey({RegistryRoot::localMachine, u"SOFTWARE\\A"});
  EXPECT_THAT(recorder_.changes(),
              ElementsAre(Change{{Item::Kind::shortcut, u"C:\\s.lnk", {}}, {}, shortcut},
                          Change{{Item::Kind::task, u"Task", {}}, {}, task},
                          Change{{Item::Kind::service, u"Service", {}},
                                 {},
                                 ServiceCondition{service, ServiceState::running}},
                          Change{{Item::Kind::variable, u"A", {}}, {}, UString(u"1")},
                          Change{{Item::Kind::registryKey, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\A", {}},
                                 {},
                                 Existing{}}));
}

TEST_F(ChangeRecorderTest, HandOversAreToldInOrder) {
  machine_.modules().callEntryPoint(u"server", u"C:\\server.dll", "Register", {});
  machine_.processes().shellExecute(u"C:\\tool.exe", u"-a");
  EXPECT_THAT(recorder_.startAnew(),
              ElementsAre(HandOver{HandOver::Kind::module, u"server", u"Register"},
                          HandOver{HandOver::Kind::shellProgram, u"C:\\tool.exe", u"-a"}));
}

TEST_F(ChangeRecorderTest, StartingAnewForgetsWhatWas) {
  write(machine_, u"C:\\a", "old");
  machine_.modules().callEntryPoint(u"server", u"C:\\server.dll", "Register", {});
  EXPECT_TRUE(recorder_.hasChanged());
  recorder_.startAnew();
  EXPECT_FALSE(recorder_.hasChanged());
  EXPECT_THAT(recorder_.changes(), IsEmpty());
  write(machine_, u"C:\\a", "new");
  EXPECT_TRUE(recorder_.hasChanged());
  EXPECT_THAT(recorder_.changes(), ElementsAre(Change{file(u"C:\\a"), content("old", hashOfOld),
                                                      content("new", hashOfNew)}));
  EXPECT_THAT(recorder_.startAnew(), IsEmpty());
}

#if !defined(_WIN32)
TEST_F(ChangeRecorderTest, AFileWrittenThroughALinkIsAChangeOfTheLink) {
  write(inner_, u"C:\\a", "old");
  std::filesystem::create_symlink("a", directory_.path() / "C" / "link");
  write(machine_, u"C:\\link", "new");
  auto before = content("old", hashOfOld);
  auto after = content("new", hashOfNew);
  before.isLink = after.isLink = true;
  EXPECT_THAT(recorder_.changes(), ElementsAre(Change{file(u"C:\\link"), before, after}));
}

TEST_F(ChangeRecorderTest, ALinkThatLeadsNowhereIsAnItemWithoutContent) {
  std::filesystem::create_symlink("nowhere", directory_.path() / "C" / "link");
  machine_.files().removeFile(u"C:\\link");
  auto const changes = recorder_.changes();
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].before, ItemState(FileContent{0, "", std::nullopt, true}));
  EXPECT_EQ(changes[0].after, ItemState());
}
#endif

}  // namespace
}  // namespace machine::watch
