#include "machine/journal/restore.hpp"
#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"

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
  change([](Machine& machine) {
    write(machine, u"C:\\d\\short", "short");
    write(machine, u"C:\\d\\long", "ours");
  });
  changeOnTheSide([](Machine& machine) { machine.files().removeFile(u"C:\\d\\short"); });
  for (bool const force : {false, true}) {
    auto const report = restore(force);
    EXPECT_TRUE(report.allRestored());
    EXPECT_EQ(stepOf(report, u"C:\\d\\short").outcome, Outcome::already);
  }
  EXPECT_FALSE(snapshot(directory()).contains("C/d/short"));
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
    auto const report = journal::restore(journal::readJournal(journal()), faulty, false);
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

#if !defined(_WIN32)
TEST_F(RestoreTest, ALinkIsNeverWrittenThroughNorRemoved) {
  std::filesystem::create_symlink("short", directory() / "C" / "d" / "link");
  change([](Machine& machine) {
    write(machine, u"C:\\d\\link", "through");
    machine.files().rename(u"C:\\d\\link", u"C:\\d\\link 2", false);
  });
  auto const report = restore(true);
  EXPECT_EQ(stepOf(report, u"C:\\d\\link").outcome, Outcome::notRestorable);
  EXPECT_EQ(stepOf(report, u"C:\\d\\link 2").outcome, Outcome::notRestorable);
  EXPECT_TRUE(std::filesystem::is_symlink(directory() / "C" / "d" / "link 2"));
  EXPECT_EQ(bytesOf(directory() / "C" / "d" / "short"), "through");
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
      journal::restore(changed, faulty, false);
      interrupted = count >= n;
    }
    {
      simulated::SimulatedMachine machine(copy.path() / "machine");
      EXPECT_EQ(troubles(journal::restore(changed, machine, false)), "") << n;
    }
    ASSERT_EQ(difference(start(), snapshot(copy.path() / "machine")), "") << n;
  }
}

}  // namespace tests
