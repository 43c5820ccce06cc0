#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>

#include "install/cpputil/logger.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tools/regplan/runner.hpp"
#include "tools/regplan/views.hpp"

namespace regplan {
namespace {

using testing::ElementsAre;

class Lambda : public Command {
 public:
  Lambda(std::function<void()> execute, std::function<void()> undo)
      : execute_(std::move(execute)), undo_(std::move(undo)) {}
  void execute() const override { execute_(); }
  void undo() const override { undo_(); }

 private:
  std::function<void()> execute_;
  std::function<void()> undo_;
};

void say(std::u16string const& message) {
  install::cpputil::logger::append_message(message);
}

class RunPlan : public testing::Test {
 protected:
  void add(
      std::string name, std::function<void()> execute, std::function<void()> undo = [] {}) {
    plan.commands.push_back(
        {std::move(name), std::make_unique<Lambda>(std::move(execute), std::move(undo))});
  }

  /// Every look at the clock finds 15 milliseconds gone.
  std::vector<CommandResult> run(Operation operation = Operation::execute) {
    auto time = std::chrono::steady_clock::time_point{};
    PlainView progress(output);
    return runPlan(plan, operation, progress, [&time] {
      time += std::chrono::milliseconds(15);
      return time;
    });
  }

  Plan plan;
  std::ostringstream output;
};

TEST_F(RunPlan, ShowsStartMessagesAndOutcome) {
  add("First", [] { say(u"Doing it"); });
  auto const results = run();
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results[0].name, "First");
  EXPECT_EQ(results[0].outcome, Outcome::done);
  EXPECT_EQ(output.str(),
            "\n[1/1] First\n"
            "        Doing it\n"
            "      done in 0.015 s\n");
}

TEST_F(RunPlan, AFailureIsToldAndTheFollowingCommandsRun) {
  add("First", [] { throw std::runtime_error("bad\nluck"); });
  add("Second", [] { say(u"still here"); });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::failed);
  EXPECT_EQ(results.at(0).reason, "bad\nluck");
  EXPECT_EQ(results.at(1).outcome, Outcome::done);
  EXPECT_EQ(output.str(),
            "\n[1/2] First\n"
            "      failed after 0.015 s: bad\\nluck\n"
            "\n[2/2] Second\n"
            "        still here\n"
            "      done in 0.015 s\n");
}

TEST_F(RunPlan, AnExceptionOfAnotherTypeIsAFailureWithoutText) {
  add("First", [] { throw 5; });
  EXPECT_EQ(run().at(0).outcome, Outcome::failed);
  EXPECT_EQ(output.str(),
            "\n[1/1] First\n"
            "      failed after 0.015 s: an exception that carries no text\n");
}

TEST_F(RunPlan, AMessageOfTroubleMarksItsOwnCommandOnly) {
  add("First", [] { say(u"Failed to do it"); });
  add("Second", [] { say(u"all well"); });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::doneWithProblems);
  EXPECT_EQ(results.at(1).outcome, Outcome::done);
}

TEST_F(RunPlan, AFailureOutweighsAMessageOfTrouble) {
  add("First", [] {
    say(u"Error getting it");
    throw std::runtime_error("x");
  });
  EXPECT_EQ(run().at(0).outcome, Outcome::failed);
}

TEST_F(RunPlan, UndoUndoesInThePlansOwnOrder) {
  std::vector<std::string> calls;
  add(
      "First", [&] { calls.push_back("execute 1"); }, [&] { calls.push_back("undo 1"); });
  add(
      "Second", [&] { calls.push_back("execute 2"); }, [&] { calls.push_back("undo 2"); });
  run(Operation::undo);
  EXPECT_THAT(calls, ElementsAre("undo 1", "undo 2"));
}

TEST_F(RunPlan, TheLogHasStartsOutcomesAndFailureTexts) {
  std::vector<std::u16string> logged;
  install::cpputil::logger::scoped_observer const watch(
      [&](std::u16string const& message) { logged.push_back(message); });
  add("First", [] {
    say(u"message");
    throw std::runtime_error("reason");
  });
  run();
  EXPECT_THAT(logged,
              ElementsAre(u"First: execute", u"message", u"First: failed after 0.015 s: reason"));
}

TEST_F(RunPlan, ALogThatCannotBeWrittenStopsNoCommand) {
  install::cpputil::logger::scoped_observer const watch(
      [](std::u16string const&) { throw std::runtime_error("disk full"); });
  bool ran = false;
  add("First", [] { say(u"lost"); });
  add("Second", [&] { ran = true; });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::failed);
  EXPECT_EQ(results.at(0).reason, "disk full");
  EXPECT_EQ(results.at(1).outcome, Outcome::done);
  EXPECT_TRUE(ran);
}

TEST_F(RunPlan, MessagesCannotObeyTheTerminal) {
  add("First", [] { say(u"a\x1b[2Jb\nc"); });
  run();
  EXPECT_THAT(output.str(), testing::HasSubstr("        a\\u001B[2Jb\\nc\n"));
}

/// Commands on a machine in memory, watched.
class WatchedRun : public RunPlan {
 protected:
  WatchedRun() : folder_(std::filesystem::temp_directory_path() / uniqueName()) {
    std::filesystem::create_directory(folder_);
    simulated_.emplace(folder_);
    overlay_.emplace(*simulated_);
  }
  ~WatchedRun() override {
    overlay_.reset();
    simulated_.reset();
    std::filesystem::remove_all(folder_);
  }

  std::vector<CommandResult> watch(bool isPreview) {
    CommandWatch observer(*overlay_, isPreview);
    machine::watch::WatchedMachine watched(*overlay_, {&observer});
    machine::ScopedMachine const scope(watched);
    PlainView view(output);
    return runPlan(plan, Operation::execute, view, std::chrono::steady_clock::now, &observer);
  }

  static void handOver() { machine::current().processes().shellExecute(u"C:\\none.exe", u"/s"); }
  static void setVariable(std::u16string_view name) {
    machine::current().environment().setVariable(name, u"x");
  }

 private:
  static std::string uniqueName() {
    return "regplan-runner-" + std::to_string(std::random_device()());
  }

  std::filesystem::path const folder_;
  std::optional<machine::simulated::SimulatedMachine> simulated_;
  std::optional<machine::overlay::OverlayMachine> overlay_;
};

TEST_F(WatchedRun, EachCommandHasItsOwnChanges) {
  add("First", [] { setVariable(u"A"); });
  add("Second", [] { setVariable(u"B"); });
  add("Third", [] {});
  auto const results = watch(false);
  ASSERT_EQ(results.at(0).changes.size(), 1U);
  EXPECT_EQ(results.at(0).changes[0].item.where, u"A");
  ASSERT_EQ(results.at(1).changes.size(), 1U);
  EXPECT_EQ(results.at(1).changes[0].item.where, u"B");
  EXPECT_TRUE(results.at(2).changes.empty());
}

TEST_F(WatchedRun, AFailedCommandHasItsChangesToo) {
  add("First", [] {
    setVariable(u"A");
    throw std::runtime_error("half-way");
  });
  EXPECT_EQ(watch(false).at(0).changes.size(), 1U);
}

TEST_F(WatchedRun, AHandOverInARunLeavesTheOutcome) {
  add("First", [] { handOver(); });
  add("Second", [] {
    handOver();
    say(u"Failed to do it");
  });
  auto const results = watch(false);
  EXPECT_EQ(results.at(0).outcome, Outcome::done);
  EXPECT_EQ(results.at(0).handOvers.size(), 1U);
  EXPECT_EQ(results.at(1).outcome, Outcome::doneWithProblems);
}

TEST_F(WatchedRun, InAPreviewNothingAfterAHandOverIsAFailure) {
  add("First", [] {
    handOver();
    say(u"Failed to do it");
  });
  add("Second", [] {
    handOver();
    throw std::runtime_error("it did not run");
  });
  auto const results = watch(true);
  EXPECT_EQ(results.at(0).outcome, Outcome::handsOver);
  EXPECT_EQ(results.at(0).messages, std::vector<Message>());
  EXPECT_EQ(results.at(1).outcome, Outcome::handsOver);
  EXPECT_EQ(results.at(1).reason, "");
}

TEST_F(WatchedRun, InAPreviewWhatComesBeforeAHandOverCounts) {
  add("First", [] {
    say(u"Failed to do it");
    handOver();
  });
  add("Second", [] { say(u"Failed to do it"); });
  add("Third", [] { throw std::runtime_error("x"); });
  auto const results = watch(true);
  EXPECT_EQ(results.at(0).outcome, Outcome::doneWithProblems);
  EXPECT_EQ(results.at(1).outcome, Outcome::doneWithProblems) << "another command's hand-over";
  EXPECT_EQ(results.at(2).outcome, Outcome::failed);
}

TEST(ReportsTrouble, KnowsTheBeginningsOfFailureLines) {
  EXPECT_TRUE(reportsTrouble("Unable to add path entries to metadata file"));
  EXPECT_TRUE(reportsTrouble("Failed to update path for the current session"));
  EXPECT_TRUE(reportsTrouble("Error writing it"));
  EXPECT_TRUE(reportsTrouble("Exception while creating desktop shortcut for x"));
  EXPECT_TRUE(reportsTrouble("Path too long, cannot update path environment value."));
}

TEST(ReportsTrouble, TakesOtherMessagesAsProgress) {
  EXPECT_FALSE(reportsTrouble("Successfully added path entries to metadata file"));
  EXPECT_FALSE(reportsTrouble("Adding Failed to the path"));
  EXPECT_FALSE(reportsTrouble("Errors"));
  EXPECT_FALSE(reportsTrouble(""));
}

TEST(FormatDuration, CountsSecondsToTheMillisecond) {
  using std::chrono::microseconds;
  EXPECT_EQ(formatDuration(microseconds(0)), "0.000 s");
  EXPECT_EQ(formatDuration(microseconds(1499)), "0.001 s");
  EXPECT_EQ(formatDuration(microseconds(1501)), "0.002 s");
  EXPECT_EQ(formatDuration(microseconds(65'030'000)), "65.030 s");
}

CommandResult resultOf(Outcome outcome) {
  return {"x", outcome, std::chrono::milliseconds(10)};
}

RunReport reportOf(std::vector<CommandResult> results) {
  RunReport report;
  report.commands = std::move(results);
  report.duration = std::chrono::milliseconds(10) * report.commands.size();
  return report;
}

TEST(Summary, CountsWhatThereWas) {
  EXPECT_EQ(summary(reportOf({resultOf(Outcome::failed), resultOf(Outcome::done),
                              resultOf(Outcome::doneWithProblems), resultOf(Outcome::done)})),
            "4 commands: 2 done, 1 done with problems, 1 failed, in 0.040 s");
  EXPECT_EQ(summary(reportOf({resultOf(Outcome::failed)})), "1 command: 1 failed, in 0.010 s");
  EXPECT_EQ(summary(reportOf({})), "0 commands: nothing to do");
}

}  // namespace
}  // namespace regplan
