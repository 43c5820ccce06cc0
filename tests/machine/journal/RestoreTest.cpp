#include "machine/journal/restore.hpp"
#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/substituted_machine.hpp"

namespace tests {

using journal::RestoreStep;
using Outcome = RestoreStep::Outcome;
using testing::ElementsAre;

class RestoreTest : public JournalTest {
 protected:
  void changeOnTheSide(std::function<void(Machine&)> const& changes) {
    simulated::SimulatedMachine machine(directory());
    changes(machine);
  }
};

TEST_F(RestoreTest, TakesEverythingBackAfterASuccess) {
  change(changeMuch);
  EXPECT_NE(snapshot(directory()), start());
  auto const report = restore();
  EXPECT_EQ(troubles(report), "");
  EXPECT_TRUE(report.allRestored());
  EXPECT_EQ(report.damage, std::nullopt);
  expectStart();
}

TEST_F(RestoreTest, DoneTwiceFindsEverythingThereAlready) {
  change(changeMuch);
  restore();
  auto const again = restore();
  for (auto const& step : again.steps) EXPECT_EQ(step.outcome, Outcome::already);
  expectStart();
}

TEST_F(RestoreTest, TakesBackWhatWasDoneBeforeAFailure) {
  EXPECT_THROW(change([](Machine& machine) {
                 FaultyMachine faulty(machine);
                 faulty.faults().failWhen(
                     [](auto operation, auto) { return operation == "createOrReplace"; },
                     ErrorCode::accessDenied);
                 changeMuch(faulty);
               }),
               SystemError);
  EXPECT_EQ(troubles(restore()), "");
  expectStart();
}

TEST_F(RestoreTest, HandOversAreListedAsNotTakenBack) {
  change(changeMuch);
  EXPECT_THAT(restore().handOvers,
              ElementsAre(HandOver{HandOver::Kind::shellProgram, u"C:\\tool.exe", u"-a"}));
}

TEST_F(RestoreTest, WhatOthersChangedSinceIsLeftAndToldWithItsStates) {
  change([](Machine& machine) {
    write(machine, u"C:\\d\\short", "ours");
    machine.registry().setText(software(u"K"), u"dword", u"ours");
    machine.tasks().createOrReplace(u"Own", taskOf(u"C:\\ours.exe"));
    machine.services().set(u"Stopped", serviceOf(u"C:\\ours.exe"));
    write(machine, u"C:\\d\\long", "ours");
  });
  changeOnTheSide([](Machine& machine) {
    write(machine, u"C:\\d\\short", "theirs");
    machine.registry().setText(software(u"K"), u"dword", u"theirs");
    machine.tasks().stopAndDisable(u"Own");
    machine.services().set(u"Stopped", serviceOf(u"C:\\theirs.exe"));
  });
  auto const theirs = snapshot(directory());
  auto const report = restore();
  EXPECT_FALSE(report.allRestored());
  for (auto const* where : {u"C:\\d\\short", u"Own", u"Stopped"}) {
    EXPECT_EQ(stepOf(report, where).outcome, Outcome::left) << toUtf8(where);
  }
  auto const& value = stepOf(report, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\K", u"dword");
  EXPECT_EQ(value.outcome, Outcome::left);
  EXPECT_EQ(value.before, ItemState(RegistryValue::ofDword(7)));
  EXPECT_EQ(value.after, ItemState(RegistryValue::ofText(u"ours")));
  EXPECT_EQ(value.found, ItemState(RegistryValue::ofText(u"theirs")));
  EXPECT_EQ(value.reason, "it was changed since");
  EXPECT_EQ(stepOf(report, u"C:\\d\\long").outcome, Outcome::restored);
  auto expected = theirs;
  expected["C/d/long"] = start().at("C/d/long");
  EXPECT_EQ(difference(expected, snapshot(directory())), "");
}

TEST_F(RestoreTest, ForcedItTakesBackWhatOthersChangedAndTellsWhat) {
  change(changeMuch);
  changeOnTheSide([](Machine& machine) {
    write(machine, u"C:\\d\\short", "theirs");
    machine.files().removeFile(u"C:\\d\\long");
    machine.registry().setText(software(u"K"), u"dword", u"theirs");
    machine.tasks().stopAndDisable(u"New");
  });
  auto const report = restore(true);
  for (auto const* where : {u"C:\\d\\short", u"C:\\d\\long", u"New"}) {
    EXPECT_EQ(stepOf(report, where).outcome, Outcome::forced) << toUtf8(where);
  }
  EXPECT_EQ(stepOf(report, u"C:\\d\\text.lnk").outcome, Outcome::restored);
  EXPECT_TRUE(report.allRestored());
  expectStart();
}

TEST_F(RestoreTest, WhatWasLeftAsItHadBeenIsNotTakenFromThoseWhoChangedItSince) {
  auto const set = [](UString const& text) {
    return [text](Machine& machine) { machine.registry().setText(software(u"Kept"), u"v", text); };
  };
  changeOnTheSide(set(u"1"));
  change([&set](Machine& machine) {
    set(u"1")(machine);
    write(machine, u"C:\\d\\long", "ours");
  });
  changeOnTheSide(set(u"2"));
  for (bool const force : {false, true}) {
    auto const report = restore(force);
    EXPECT_TRUE(report.allRestored());
    EXPECT_EQ(stepOf(report, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Kept", u"v").outcome,
              Outcome::already);
  }
  EXPECT_THAT(snapshot(directory()).at("registry.json"), ::testing::HasSubstr("\"2\""));
  EXPECT_EQ(snapshot(directory()).at("C/d/long"), start().at("C/d/long"));
}

TEST_F(RestoreTest, MadeFoldersAndKeysStayWhileSomethingIsInThem) {
  change([](Machine& machine) {
    machine.files().createDirectory(u"C:\\new");
    write(machine, u"C:\\new\\ours", "ours");
    machine.registry().setText(software(u"New"), u"ours", u"1");
  });
  changeOnTheSide([](Machine& machine) {
    write(machine, u"C:\\new\\theirs", "theirs");
    machine.registry().setText(software(u"New"), u"theirs", u"1");
  });
  auto const report = restore(true);
  EXPECT_EQ(stepOf(report, u"C:\\new").outcome, Outcome::left);
  EXPECT_EQ(stepOf(report, u"C:\\new").reason, "it is not empty");
  EXPECT_EQ(stepOf(report, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\New").outcome, Outcome::left);
  auto const now = snapshot(directory());
  EXPECT_EQ(now.at("C/new/theirs"), "theirs");
  EXPECT_FALSE(now.contains("C/new/ours"));
  changeOnTheSide([](Machine& machine) {
    EXPECT_TRUE(machine.registry().value(software(u"New"), u"theirs"));
    EXPECT_FALSE(machine.registry().value(software(u"New"), u"ours"));
  });
}

TEST_F(RestoreTest, MadeTaskFoldersGoUnlessSomethingIsInThem) {
  change([](Machine& machine) {
    machine.tasks().createOrReplace(u"Maker\\Ours", taskOf(u"C:\\ours.exe"));
    machine.tasks().createOrReplace(u"Shared\\Ours", taskOf(u"C:\\ours.exe"));
  });
  changeOnTheSide([](Machine& machine) {
    machine.tasks().createOrReplace(u"Shared\\Theirs", taskOf(u"C:\\theirs.exe"));
  });
  auto const report = restore();
  EXPECT_EQ(stepOf(report, u"Maker").outcome, Outcome::restored);
  EXPECT_EQ(stepOf(report, u"Shared").outcome, Outcome::left);
  EXPECT_EQ(stepOf(report, u"Shared").reason, "it is not empty");
  changeOnTheSide([](Machine& machine) {
    EXPECT_FALSE(machine.tasks().folderExists(u"Maker"));
    EXPECT_FALSE(machine.tasks().task(u"Shared\\Ours"));
    EXPECT_TRUE(machine.tasks().task(u"Shared\\Theirs"));
  });
}

TEST_F(RestoreTest, ATaskFolderThatWasThereStays) {
  changeOnTheSide([](Machine& machine) {
    machine.tasks().createOrReplace(u"Maker\\Gone", taskOf(u"C:\\x.exe"));
    machine.tasks().remove(u"Maker\\Gone");
  });
  change([](Machine& machine) {
    machine.tasks().createOrReplace(u"Maker\\Ours", taskOf(u"C:\\ours.exe"));
  });
  EXPECT_TRUE(restore().allRestored());
  changeOnTheSide([](Machine& machine) {
    EXPECT_TRUE(machine.tasks().folderExists(u"Maker"));
    EXPECT_FALSE(machine.tasks().task(u"Maker\\Ours"));
  });
}

TEST_F(RestoreTest, AServiceThatStoppedByItselfIsTakenBackAllTheSame) {
  change([](Machine& machine) {
    machine.services().set(u"New", serviceOf(u"C:\\tool.exe"));
    machine.services().start(u"New", {});
  });
  changeOnTheSide([](Machine& machine) { machine.services().stop(u"New", {}); });
  EXPECT_EQ(stepOf(restore(), u"New").outcome, Outcome::restored);
  expectStart();
}

TEST_F(RestoreTest, AFailedStepIsToldAndTheOthersGoOn) {
  change(changeMuch);
  {
    simulated::SimulatedMachine machine(directory());
    FaultyMachine faulty(machine);
    faulty.faults().failWhen(
        [](auto operation, auto subject) {
          return operation == "rename" && subject.starts_with(u"C:\\d\\long");
        },
        ErrorCode::accessDenied);
    auto const report = journal::restore(journal::readJournal(journal()), faulty, {});
    auto const& step = stepOf(report, u"C:\\d\\long");
    EXPECT_EQ(step.outcome, Outcome::failed);
    EXPECT_NE(step.reason.find("rename"), std::string::npos) << step.reason;
    EXPECT_EQ(stepOf(report, u"C:\\d\\short").outcome, Outcome::restored);
  }
  EXPECT_TRUE(restore().allRestored());
  expectStart();
}

TEST_F(RestoreTest, AStoredContentThatIsMissingOrDamagedIsNotPutBack) {
  change([](Machine& machine) { write(machine, u"C:\\d\\long", "ours"); });
  auto const folder = journal().string() + ".files";
  auto const stored = std::filesystem::directory_iterator(folder)->path();
  auto bytes = bytesOf(stored);
  bytes[5000] = 'x';
  writeBytes(stored, bytes);
  auto const damaged = restore();
  EXPECT_EQ(stepOf(damaged, u"C:\\d\\long").outcome, Outcome::failed);
  EXPECT_NE(damaged.steps[0].reason.find("content"), std::string::npos);
  std::filesystem::remove(stored);
  EXPECT_EQ(stepOf(restore(), u"C:\\d\\long").outcome, Outcome::failed);
  auto const now = snapshot(directory());
  EXPECT_EQ(now.at("C/d/long"), "ours");
  EXPECT_FALSE(now.contains("C/d/long.journal-restore.tmp"));
}

TEST_F(RestoreTest, AVariableIsGoneWithItsProcess) {
  change([](Machine& machine) { machine.environment().setVariable(u"OLD", u"ours"); });
  changeOnTheSide([](Machine& machine) { machine.environment().setVariable(u"OLD", u"other"); });
  auto const report = restore(true);
  EXPECT_EQ(stepOf(report, u"OLD").outcome, Outcome::already);
  EXPECT_TRUE(report.allRestored());
  EXPECT_EQ(simulated::SimulatedMachine(directory()).environment().variable(u"OLD"), u"other");
}

TEST_F(RestoreTest, AChangedEnvironmentAndAssociationsAreBroadcast) {
  change([](Machine& machine) {
    machine.registry().setText(
        {RegistryRoot::localMachine,
         u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"},
        u"Path", u"C:\\ours");
    machine.registry().setText({RegistryRoot::classesRoot, u".ours"}, u"", u"ours");
  });
  restore();
  expectStart();
  auto const environment = nlohmann::json::parse(bytesOf(directory() / "environment.json"));
  EXPECT_EQ(environment["settingChangeBroadcasts"], 1);
  auto const shell = nlohmann::json::parse(bytesOf(directory() / "shell.json"));
  EXPECT_EQ(shell["associationChangeAnnouncements"], 1);
}

TEST_F(RestoreTest, NothingIsBroadcastForWhatConcernsNobody) {
  change([](Machine& machine) { machine.registry().setText(software(u"K"), u"", u"ours"); });
  restore();
  auto const environment = nlohmann::json::parse(bytesOf(directory() / "environment.json"));
  EXPECT_EQ(environment["settingChangeBroadcasts"], 0);
}

/// A registry that others write to right before a key is removed.
TEST_F(RestoreTest, AMadeKeyThatOthersWriteToAsItIsRemovedStays) {
  change([](Machine& machine) {
    machine.registry().createKey(software(u"New"));
    machine.registry().createKey(software(u"Newer"));
  });
  simulated::SimulatedMachine machine(directory());
  struct Shared final : ForwardingRegistry {
    using ForwardingRegistry::ForwardingRegistry;
    bool removeKey(RegistryKey const& key) override {
      inner().setValue(key, u"theirs", RegistryValue::ofDword(1));
      return inner().removeKey(key);
    }
    bool removeEmptyKey(RegistryKey const& key) override {
      if (key == software(u"New")) inner().setValue(key, u"theirs", RegistryValue::ofDword(1));
      return inner().removeEmptyKey(key);
    }
  } registry(machine.registry());
  SubstitutedMachine shared(machine);
  shared.replace(registry);
  auto const report = journal::restore(journal::readJournal(journal()), shared, {});
  EXPECT_EQ(stepOf(report, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\New").outcome, Outcome::left);
  EXPECT_EQ(stepOf(report, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Newer").outcome, Outcome::restored);
  EXPECT_TRUE(machine.registry().value(software(u"New"), u"theirs"));
}

/// Attributes of all files, which no host but Windows keeps.
class KeptAttributes final : public ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;
  std::optional<FileStatus> status(std::u16string_view path) override {
    auto result = inner().status(path);
    auto const found = kept.find(foldCase(path));
    if (result && found != kept.end()) result->attributes = found->second;
    return result;
  }
  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override {
    kept[foldCase(path)] = attributes;
  }
  bool removeFile(std::u16string_view path) override {
    kept.erase(foldCase(path));
    return inner().removeFile(path);
  }
  void rename(std::u16string_view from, std::u16string_view to, bool replace) override {
    inner().rename(from, to, replace);
    auto moved = kept.extract(foldCase(from));
    kept.erase(foldCase(to));
    if (moved) kept[foldCase(to)] = moved.mapped();
  }

  std::map<UString, FileAttributes> kept;
};

TEST_F(RestoreTest, AttributesAndTimesOfFilesArePutBack) {
  FileAttributes const hidden{false, true, true, 11, 22};
  FileAttributes const readOnly{true, false, false, 33, 44};
  simulated::SimulatedMachine machine(directory());
  KeptAttributes files(machine.files());
  files.kept[u"c:\\d\\short"] = hidden;
  files.kept[u"c:\\d\\long"] = readOnly;
  SubstitutedMachine kept(machine);
  kept.replace(files);
  {
    journal::JournalWriter writer(journal(), kept, "test");
    watch::WatchedMachine watched(kept, {&writer});
    watched.files().removeFile(u"C:\\d\\short");
    watched.files().rename(u"C:\\d\\long", u"C:\\d\\moved", false);
  }
  EXPECT_FALSE(files.kept.contains(u"c:\\d\\short"));
  EXPECT_EQ(troubles(journal::restore(journal::readJournal(journal()), kept, {})), "");
  EXPECT_EQ(files.kept[u"c:\\d\\short"], hidden);
  EXPECT_EQ(files.kept[u"c:\\d\\long"], readOnly);
}

/// A file of the same bytes that is hidden no more is not as it was.
TEST_F(RestoreTest, AnAttributeThatChangedIsPutBackThoughTheContentIsTheSame) {
  simulated::SimulatedMachine machine(directory());
  KeptAttributes files(machine.files());
  files.kept[u"c:\\d\\short"] = {false, true, false, 11, 22};
  SubstitutedMachine kept(machine);
  kept.replace(files);
  {
    journal::JournalWriter writer(journal(), kept, "test");
    watch::WatchedMachine watched(kept, {&writer});
    watched.files().setReadOnly(u"C:\\d\\short", true);
  }
  auto const changed = journal::readJournal(journal());
  EXPECT_EQ(journal::restore(changed, kept, {}).steps.at(0).outcome, Outcome::restored);
  EXPECT_FALSE(files.kept[u"c:\\d\\short"].isReadOnly);
  EXPECT_EQ(journal::restore(changed, kept, {}).steps.at(0).outcome, Outcome::already);
}

TEST_F(RestoreTest, AProgramThatRunsGetsItsTimeBackWithoutBeingReplaced) {
  change([](Machine& machine) { write(machine, u"C:\\d\\short", "short"); });
  simulated::SimulatedMachine machine(directory());
  FaultyMachine inUse(machine);
  inUse.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "rename"; },
      ErrorCode::accessDenied);
  EXPECT_EQ(troubles(journal::restore(journal::readJournal(journal()), inUse, {})), "");
  expectStart();
}

class ForeignJournalTest : public RestoreTest {
 protected:
  ForeignJournalTest() {
    rename(u"CHARLY", u"1");
    change([](Machine& machine) { write(machine, u"C:\\d\\short", "ours"); });
  }
  void rename(UString const& computer, UString const& id) {
    changeOnTheSide([&](Machine& machine) {
      machine.environment().setVariable(u"COMPUTERNAME", computer);
      machine.registry().setText({RegistryRoot::localMachine, u"SOFTWARE\\Microsoft\\Cryptography"},
                                 u"MachineGuid", id);
    });
  }
  /// What a restore is refused with; empty when it is not.
  std::string refusal(journal::RestoreOptions const& options) {
    simulated::SimulatedMachine machine(directory());
    return refusalOn(machine, options);
  }
  std::string refusalOn(Machine& machine, journal::RestoreOptions const& options) {
    try {
      journal::restore(journal::readJournal(journal()), machine, options);
      return {};
    } catch (journal::ForeignJournal const& error) {
      return error.what();
    }
  }
  std::string content() const { return bytesOf(directory() / "C" / "d" / "short"); }
};

TEST_F(ForeignJournalTest, OnAnotherComputerNothingIsRestoredUnlessAskedFor) {
  rename(u"LUCY", u"2");
  EXPECT_EQ(refusal({}),
            "the journal was written on the computer CHARLY (1), and this is LUCY (2)");
  EXPECT_EQ(refusal({true, false, true}), refusal({}));
  EXPECT_EQ(content(), "ours");
  EXPECT_EQ(refusal({false, true, false}), "");
  EXPECT_EQ(content(), "short");
}

TEST_F(ForeignJournalTest, AComputerOfTheSameNameIsAnotherOne) {
  rename(u"CHARLY", u"2");
  EXPECT_EQ(refusal({}),
            "the journal was written on the computer CHARLY (1), and this is CHARLY (2)");
}

TEST_F(ForeignJournalTest, AComputerThatGotAnotherNameIsTheSame) {
  rename(u"LUCY", u"1");
  EXPECT_EQ(refusal({}), "");
}

TEST_F(ForeignJournalTest, AsAnotherAccountNothingIsRestoredUnlessAskedFor) {
  simulated::SimulatedMachine machine(directory());
  struct Other final : ForwardingEnvironment {
    using ForwardingEnvironment::ForwardingEnvironment;
    UString account() override { return u"S-1-5-18"; }
  } environment(machine.environment());
  SubstitutedMachine other(machine);
  other.replace(environment);
  EXPECT_EQ(refusalOn(other, {true, false, false}),
            "the journal was written by the account User (S-1-5-21-1-2-3-1001), and this is User "
            "(S-1-5-18)");
  EXPECT_EQ(content(), "ours");
  EXPECT_EQ(refusalOn(other, {false, false, true}), "");
  EXPECT_EQ(content(), "short");
}

/// A journal need not have been read from a file.
TEST_F(RestoreTest, AStateOfAnotherKindRestoresNothing) {
  change([](Machine& machine) { machine.services().set(u"New", serviceOf(u"C:\\tool.exe")); });
  auto journal = journal::readJournal(this->journal());
  journal.entries.at(0).before = {RegistryValue::ofDword(1)};
  simulated::SimulatedMachine machine(directory());
  auto const step = journal::restore(journal, machine, {}).steps.at(0);
  EXPECT_EQ(step.outcome, Outcome::failed);
  EXPECT_EQ(step.reason, "a state of another kind of item");
  EXPECT_TRUE(machine.services().definition(u"New"));
}

#if !defined(_WIN32)
class RestoredLink : public RestoreTest {
 protected:
  std::filesystem::path host(std::string const& name) const {
    return directory() / "C" / "d" / name;
  }
  std::string target(std::string const& name) const {
    return std::filesystem::read_symlink(host(name)).string();
  }
  Outcome outcomeOf(journal::RestoreReport const& report, std::u16string_view name) {
    return stepOf(report, UString(u"C:\\d\\") + UString(name)).outcome;
  }
};

TEST_F(RestoredLink, RemovedMovedAndReplacedLinksAreMadeAgain) {
  std::filesystem::create_symlink("short", host("removed"));
  std::filesystem::create_directory_symlink("../d/sub", host("folder"));
  std::filesystem::create_directory_symlink(host("empty"), host("moved"));
  std::filesystem::create_symlink("nowhere", host("replaced"));
  change([](Machine& machine) {
    machine.files().removeFile(u"C:\\d\\removed");
    machine.files().removeDirectory(u"C:\\d\\folder");
    machine.files().rename(u"C:\\d\\moved", u"C:\\d\\moved 2", false);
    machine.files().rename(u"C:\\d\\long", u"C:\\d\\replaced", true);
  });
  EXPECT_EQ(troubles(restore()), "");
  EXPECT_EQ(target("removed"), "short");
  EXPECT_EQ(target("folder"), "../d/sub");
  EXPECT_EQ(target("moved"), host("empty").string());
  EXPECT_FALSE(std::filesystem::is_symlink(host("moved 2")));
  EXPECT_EQ(target("replaced"), "nowhere");
  EXPECT_EQ(bytesOf(host("long")), start().at("C/d/long"));
  auto const again = restore();
  for (auto const& step : again.steps) EXPECT_EQ(step.outcome, Outcome::already);
}

TEST_F(RestoredLink, AFileThatALinkReplacedIsPutBackAndNothingIsWrittenThroughTheLink) {
  std::filesystem::create_symlink("long", host("link"));
  change([](Machine& machine) { machine.files().rename(u"C:\\d\\link", u"C:\\d\\short", true); });
  EXPECT_EQ(troubles(restore()), "");
  EXPECT_FALSE(std::filesystem::is_symlink(host("short")));
  EXPECT_EQ(target("link"), "long");
  std::filesystem::remove(host("link"));
  expectStart();
}

TEST_F(RestoredLink, ALinkThatOthersLedElsewhereIsLeft) {
  std::filesystem::create_symlink("short", host("link"));
  change([](Machine& machine) { machine.files().removeFile(u"C:\\d\\link"); });
  std::filesystem::create_symlink("long", host("link"));
  EXPECT_EQ(outcomeOf(restore(), u"link"), Outcome::left);
  EXPECT_EQ(target("link"), "long");
  EXPECT_EQ(outcomeOf(restore(true), u"link"), Outcome::forced);
  EXPECT_EQ(target("link"), "short");
}

TEST_F(RestoredLink, WhatWasWrittenThroughALinkIsToldAsNotRestorable) {
  std::filesystem::create_symlink("short", host("link"));
  std::filesystem::create_symlink("long", host("stays"));
  change([](Machine& machine) {
    write(machine, u"C:\\d\\link", "through");
    write(machine, u"C:\\d\\stays", "through");
    machine.files().rename(u"C:\\d\\link", u"C:\\d\\link 2", false);
  });
  auto const report = restore(true);
  EXPECT_EQ(outcomeOf(report, u"link"), Outcome::notRestorable);
  EXPECT_EQ(outcomeOf(report, u"stays"), Outcome::notRestorable);
  EXPECT_EQ(outcomeOf(report, u"link 2"), Outcome::restored);
  EXPECT_EQ(target("link"), "short");
  EXPECT_EQ(bytesOf(host("short")), "through");
}

/// The file's own item puts it back.
TEST_F(RestoredLink, WhatWasWrittenUnderTheFilesOwnNameIsNothingOfTheLinks) {
  std::filesystem::create_symlink("short", host("link"));
  change([](Machine& machine) {
    write(machine, u"C:\\d\\short", "ours");
    machine.files().removeFile(u"C:\\d\\link");
  });
  auto const report = restore();
  EXPECT_EQ(outcomeOf(report, u"short"), Outcome::restored);
  EXPECT_EQ(bytesOf(host("short")), "short");
}
#endif

/// A process that is stopped: from its n-th operation on the machine does nothing more.
TEST_F(RestoreTest, InterruptedAtAnyOperationItCanBeRunAgain) {
  change(changeMuch);
  auto const changed = journal::readJournal(journal());
  bool interrupted = true;
  for (std::size_t n = 1; interrupted; n += isWine() ? 29 : 1) {
    TemporaryFolder const copy;
    copyTree(directory(), copy.path() / "machine");
    {
      simulated::SimulatedMachine machine(copy.path() / "machine");
      FaultyMachine faulty(machine);
      std::size_t count = 0;
      faulty.faults().failWhen([&](auto, auto) { return ++count >= n; }, ErrorCode::ioDevice);
      try {
        journal::restore(changed, faulty, {});
      } catch (SystemError const&) {
        // Stopped before it knew where it was.
      }
      interrupted = count >= n;
    }
    {
      simulated::SimulatedMachine machine(copy.path() / "machine");
      EXPECT_EQ(troubles(journal::restore(changed, machine, {})), "") << n;
    }
    ASSERT_EQ(difference(start(), snapshot(copy.path() / "machine")), "") << n;
  }
}

}  // namespace tests
