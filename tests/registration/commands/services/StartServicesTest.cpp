#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/StartServices.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

utility::Options enabled(bool skipped = false) {
  utility::Options::Values values;
  values.scheduledServicesEnabled = true;
  values.systemIntegrationSkipped = skipped;
  values.rootPath = u"C:\\Vortan";
  return utility::Options(values);
}

utility::Options disabled() {
  return utility::Options(utility::Options::Values{});
}

/// The task library replaced by one task that may exist.
class FakedTasks : public StartServices {
 public:
  explicit FakedTasks(utility::Options const& given = enabled())
      : StartServices(given, u"Updater", u"text 2", u"C:\\Vortan\\Update.exe", u"text 5", true) {}

  bool exists = false;
  UString application = u"C:\\Vortan\\Update.exe";
  int createResult = 0;
  int deleteResult = 1;
  int stopResult = 1;
  Lines mutable calls;
  Lines mutable log;

 protected:
  int TaskCreateWrapper(UString const& name, UString const& s2, UString const& path,
                        UString const& s4, UString const& s5) const override {
    calls.push_back(u"create " + name + u", " + s2 + u", " + path + u", " + s4 + u", " + s5);
    return createResult;
  }
  bool TaskExistsWrapper(UString const& name) const override {
    calls.push_back(u"exists " + name);
    return exists;
  }
  int TaskDeleteWrapper(UString const& name) const override {
    calls.push_back(u"delete " + name);
    return deleteResult;
  }
  int TaskTerminateAndDisableWrapper(UString const& name) const override {
    calls.push_back(u"stop " + name);
    return stopResult;
  }
  UString GetTaskApplicationPathWrapper(UString const& name) const override {
    calls.push_back(u"path " + name);
    return application;
  }
  void log_message(UString const& message) const override { log.push_back(message); }
};

UString const create = u"create Updater, text 2, C:\\Vortan\\Update.exe, C:\\Vortan, text 5";
UString const task = u"Updater for C:\\Vortan\\Update.exe";

TEST(StartServices, AMissingTaskIsCreated) {
  FakedTasks command;
  command.execute();
  EXPECT_EQ(command.calls, (Lines{u"exists Updater", create}));
  EXPECT_EQ(command.log, Lines{u"Successsfully scheduled " + task});
}

TEST(StartServices, AnExistingTaskIsStoppedThenCreatedOverItself) {
  FakedTasks command;
  command.exists = true;
  command.execute();
  EXPECT_EQ(command.calls, (Lines{u"exists Updater", u"path Updater", u"stop Updater", create}));
  EXPECT_EQ(command.log,
            (Lines{u"Successfully stopped " + task, u"Successsfully scheduled " + task}));
}

TEST(StartServices, AFailedStopSchedulesNothing) {
  FakedTasks command;
  command.exists = true;
  command.stopResult = 0;
  command.execute();
  EXPECT_EQ(command.calls.back(), u"stop Updater");
  EXPECT_EQ(command.log, Lines{u"Failed to stop " + task});
}

TEST(StartServices, AnyCodeButZeroMeansStopped) {
  FakedTasks command;
  command.exists = true;
  command.stopResult = -1;
  command.execute();
  EXPECT_EQ(command.log.front(), u"Successfully stopped " + task);
}

TEST(StartServices, AnErrorCodeIsLoggedAsASignedNumber) {
  FakedTasks command;
  command.createResult = static_cast<int>(0x80070005);
  command.execute();
  EXPECT_EQ(command.log,
            Lines{u"Failed to schedule " + task + u", the error code is: -2147024891"});
  command.createResult = 1;
  command.execute();
  EXPECT_EQ(command.log.back(), u"Failed to schedule " + task + u", the error code is: 1");
}

TEST(StartServices, SkippedSystemIntegrationStopsExecuteButNotUndo) {
  FakedTasks command(enabled(true));
  command.exists = true;
  command.execute();
  EXPECT_TRUE(command.calls.empty());
  EXPECT_TRUE(command.log.empty());
  command.undo();
  EXPECT_EQ(command.calls.back(), u"delete Updater");
}

TEST(StartServices, NothingHappensWhenNotEnabled) {
  FakedTasks command(disabled());
  command.exists = true;
  command.execute();
  command.undo();
  EXPECT_TRUE(command.calls.empty());
  EXPECT_TRUE(command.log.empty());
}

TEST(StartServices, AnApplicationPathInAnotherCaseIsTheSameTask) {
  FakedTasks command;
  command.exists = true;
  command.application = u"c:\\VORTAN\\update.EXE";
  command.execute();
  EXPECT_EQ(command.log.front(), u"Successfully stopped " + task);
}

TEST(StartServices, ATaskWithAnotherApplicationIsCreatedOverAndNotUndone) {
  for (auto const* const other : {u"C:\\Other\\Update.exe", u"C:\\Vortan\\Update.exe ", u""}) {
    FakedTasks command;
    command.exists = true;
    command.application = other;
    command.execute();
    EXPECT_EQ(command.calls, (Lines{u"exists Updater", u"path Updater", create}));
    command.calls.clear();
    command.log.clear();
    command.undo();
    EXPECT_EQ(command.calls, (Lines{u"exists Updater", u"path Updater"}));
    EXPECT_TRUE(command.log.empty());
  }
}

TEST(StartServices, OnlyLettersOfAsciiAreLoweredForTheComparison) {
  class Umlaut : public StartServices {
   public:
    Umlaut() : StartServices(enabled(), u"n", u"", u"C:\\\u00c4.exe", u"", false) {}
    using StartServices::checkIfTaskExists;

   protected:
    bool TaskExistsWrapper(UString const&) const override { return true; }
    UString GetTaskApplicationPathWrapper(UString const&) const override {
      return u"C:\\\u00e4.exe";
    }
  };
  EXPECT_FALSE(Umlaut().checkIfTaskExists(u"n"));
}

TEST(StartServices, UndoStopsAndDeletes) {
  FakedTasks command;
  command.exists = true;
  command.undo();
  EXPECT_EQ(command.calls,
            (Lines{u"exists Updater", u"path Updater", u"stop Updater", u"delete Updater"}));
  EXPECT_EQ(command.log,
            (Lines{u"Successfully stopped " + task, u"Successsfully removed " + task}));
}

TEST(StartServices, UndoOfAMissingTaskDoesAndLogsNothing) {
  FakedTasks command;
  command.undo();
  EXPECT_EQ(command.calls, Lines{u"exists Updater"});
  EXPECT_TRUE(command.log.empty());
}

TEST(StartServices, UndoTellsAFailedStopAsAMissingTaskAndDeletesNothing) {
  FakedTasks command;
  command.exists = true;
  command.stopResult = 0;
  command.undo();
  EXPECT_EQ(command.calls.back(), u"stop Updater");
  EXPECT_EQ(command.log, Lines{task + u" does not exist"});
}

TEST(StartServices, UndoTellsAFailedDelete) {
  FakedTasks command;
  command.exists = true;
  command.deleteResult = 0;
  command.undo();
  EXPECT_EQ(command.log, (Lines{u"Successfully stopped " + task, u"Failed to remove " + task}));
}

TEST(StartServices, TheMessageCanBeReplaced) {
  class OtherMessage : public FakedTasks {
    UString getTaskMessage() const override { return u"it"; }
  };
  OtherMessage command;
  command.execute();
  EXPECT_EQ(command.log, Lines{u"Successsfully scheduled it"});
}

TEST(StartServices, TheCheckCanBeReplaced) {
  class AlwaysThere : public FakedTasks {
    bool checkIfTaskExists(UString const& name) const override { return name == u"Updater"; }
  };
  AlwaysThere command;
  command.undo();
  EXPECT_EQ(command.calls, (Lines{u"stop Updater", u"delete Updater"}));
}

TEST(StartServices, ExceptionsLeaveBothCalls) {
  class Throwing : public FakedTasks {
    bool TaskExistsWrapper(UString const&) const override { throw std::runtime_error("no"); }
  };
  EXPECT_THROW(Throwing().execute(), std::runtime_error);
  EXPECT_THROW(Throwing().undo(), std::runtime_error);
}

TEST(StartServices, CopiesBehaveAsTheirSource) {
  FakedTasks const source;
  FakedTasks const copy(source);
  copy.execute();
  EXPECT_EQ(copy.calls.back(), create);
  EXPECT_EQ(copy.log, Lines{u"Successsfully scheduled " + task});
}

/// The machine's own scheduler.
class StartServicesOnMachine : public tests::CommandTest {
 protected:
  ~StartServicesOnMachine() override { machine().tasks().remove(name); }
  std::vector<UString> run(void (StartServices::*operation)() const,
                           UString const& application = u"C:\\Vortan\\Update.exe") {
    tests::LogCapture log;
    StartServices const command(enabled(), name, u"Updates Vortan", application, u"-q", false);
    (command.*operation)();
    return log.messages();
  }
  std::optional<machine::TaskDefinition> scheduled() { return machine().tasks().task(name); }

  UString const name = u"Registration Command Test";
  UString const message = name + u" for C:\\Vortan\\Update.exe";
};

TEST_F(StartServicesOnMachine, SchedulesAgainAndTakesBack) {
  EXPECT_EQ(run(&StartServices::execute), Lines{u"Successsfully scheduled " + message});
  ASSERT_TRUE(scheduled());
  EXPECT_EQ(scheduled()->application, u"C:\\Vortan\\Update.exe");
  EXPECT_EQ(scheduled()->description, u"Updates Vortan");
  EXPECT_EQ(run(&StartServices::execute),
            (Lines{u"Successfully stopped " + message, u"Successsfully scheduled " + message}));
  EXPECT_TRUE(scheduled()->enabled);
  EXPECT_EQ(run(&StartServices::undo),
            (Lines{u"Successfully stopped " + message, u"Successsfully removed " + message}));
  EXPECT_FALSE(scheduled());
  EXPECT_EQ(run(&StartServices::undo), Lines{});
}

TEST_F(StartServicesOnMachine, CreatesOverAnotherApplicationsTaskAndLeavesItInUndo) {
  run(&StartServices::execute, u"C:\\Other.exe");
  EXPECT_EQ(run(&StartServices::undo), Lines{});
  EXPECT_EQ(scheduled()->application, u"C:\\Other.exe");
  EXPECT_EQ(run(&StartServices::execute), Lines{u"Successsfully scheduled " + message});
  EXPECT_EQ(scheduled()->application, u"C:\\Vortan\\Update.exe");
}

TEST_F(StartServicesOnMachine, EachFailureOfTheSchedulerIsALine) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  auto const failing = [&](std::string_view failed) {
    faulty.faults().failWhen([failed](auto operation, auto) { return operation == failed; },
                             machine::ErrorCode::accessDenied);
  };
  failing("createOrReplace");
  EXPECT_EQ(run(&StartServices::execute),
            Lines{u"Failed to schedule " + message + u", the error code is: -2147024891"});
  faulty.faults().failNever();
  run(&StartServices::execute);
  failing("stopAndDisable");
  EXPECT_EQ(run(&StartServices::execute), Lines{u"Failed to stop " + message});
  EXPECT_EQ(run(&StartServices::undo), Lines{message + u" does not exist"});
  failing("remove");
  EXPECT_EQ(run(&StartServices::undo),
            (Lines{u"Successfully stopped " + message, u"Failed to remove " + message}));
  failing("task");
  EXPECT_EQ(run(&StartServices::undo), Lines{});
}

}  // namespace
}  // namespace registration::commands
