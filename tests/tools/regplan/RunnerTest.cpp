#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>

#include "install/cpputil/logger.hpp"
#include "install/cpputil/trouble.hpp"
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

namespace trouble = install::cpputil::trouble;

/// As a command reports a failure that it caught.
void fail(std::u16string const& line) {
  trouble::tell({trouble::severity::error, line, u"subject", 1});
  say(line);
}

/// Commands on a machine in memory.
class RunPlan : public testing::Test {
 protected:
  RunPlan() : folder_(std::filesystem::temp_directory_path() / uniqueName()) {
    std::filesystem::create_directory(folder_);
    simulated_.emplace(folder_);
    overlay_.emplace(*simulated_);
  }
  ~RunPlan() override {
    overlay_.reset();
    simulated_.reset();
    std::filesystem::remove_all(folder_);
  }

  void add(
      std::string name, std::function<void()> execute, std::function<void()> undo = [] {}) {
    plan.commands.push_back(
        {std::move(name), std::make_unique<Lambda>(std::move(execute), std::move(undo))});
  }

  /// Every look at the clock finds 15 milliseconds gone.
  std::vector<CommandResult> run(Operation operation = Operation::execute, bool isPreview = false,
                                 CommandWatch::Depth depth = CommandWatch::Depth::changes,
                                 Detail detail = Detail::normal) {
    CommandWatch watch(*overlay_, isPreview, depth);
    machine::watch::WatchedMachine watched(*overlay_, {&watch});
    machine::ScopedMachine const scope(watched);
    auto time = std::chrono::steady_clock::time_point{};
    PlainView view(output, detail);
    return runPlan(
        plan, operation, view,
        [&time] {
          time += std::chrono::milliseconds(15);
          return time;
        },
        watch);
  }
  std::vector<CommandResult> preview() { return run(Operation::execute, true); }

  static void handOver() { machine::current().processes().shellExecute(u"C:\\none.exe", u"/s"); }
  static void setVariable(std::u16string_view name) {
    machine::current().environment().setVariable(name, u"x");
  }

  Plan plan;
  std::ostringstream output;

 private:
  static std::string uniqueName() {
    return "regplan-runner-" + std::to_string(std::random_device()());
  }

  std::filesystem::path const folder_;
  std::optional<machine::simulated::SimulatedMachine> simulated_;
  std::optional<machine::overlay::OverlayMachine> overlay_;
};

TEST_F(RunPlan, ShowsStartMessagesAndOutcome) {
  add("First", [] {
    say(u"Doing it");
    setVariable(u"A");
  });
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
  add("Second", [] {
    say(u"still here");
    setVariable(u"A");
  });
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

TEST_F(RunPlan, TroubleMarksItsOwnCommandOnly) {
  add("First", [] { fail(u"It was not done"); });
  add("Second", [] { setVariable(u"A"); });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::doneWithProblems);
  EXPECT_EQ(results.at(1).outcome, Outcome::done);
}

TEST_F(RunPlan, AFailureOutweighsTrouble) {
  add("First", [] {
    fail(u"Error getting it");
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
  EXPECT_EQ(results.at(1).outcome, Outcome::nothingToDo);
  EXPECT_TRUE(ran);
}

TEST_F(RunPlan, MessagesCannotObeyTheTerminal) {
  add("First", [] { say(u"a\x1b[2Jb\nc"); });
  run();
  EXPECT_THAT(output.str(), testing::HasSubstr("        a\\u001B[2Jb\\nc\n"));
}

TEST_F(RunPlan, WithoutAChangeThereWasNothingToDo) {
  add("First", [] { say(u"Successfully done"); });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::nothingToDo);
  EXPECT_EQ(results.at(0).reason, "");
  EXPECT_THAT(output.str(), testing::EndsWith("      nothing to do in 0.015 s\n"));
}

TEST_F(RunPlan, WhatIsWrittenAsItWasIsNoChange) {
  add("First", [] { setVariable(u"A"); });
  add("Second", [] { setVariable(u"A"); });
  for (auto const depth : {CommandWatch::Depth::changes, CommandWatch::Depth::outcome}) {
    auto const results = run(Operation::execute, false, depth);
    EXPECT_EQ(results.at(1).outcome, Outcome::nothingToDo);
  }
}

TEST_F(RunPlan, TheOutcomeAloneIsTheSameAsWithTheChanges) {
  add("First", [] { setVariable(u"A"); });
  auto const results = run(Operation::execute, false, CommandWatch::Depth::outcome);
  EXPECT_EQ(results.at(0).outcome, Outcome::done);
  EXPECT_TRUE(results.at(0).changes.empty());
}

TEST_F(RunPlan, WhatHadNothingToDoSaysWhichOptionDecided) {
  add("First", [] {
    trouble::tell({trouble::severity::skipped, u"isAsked is false", u"isAsked"});
  });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::nothingToDo);
  EXPECT_EQ(results.at(0).reason, "isAsked is false");
  EXPECT_EQ(results.at(0).decidedBy, "isAsked");
  EXPECT_TRUE(results.at(0).troubles.empty());
  EXPECT_THAT(output.str(),
              testing::EndsWith("      nothing to do in 0.015 s: isAsked is false\n"));
}

TEST_F(RunPlan, TroubleThatTheLogPassesOverIsShownAndLoggedByTheProgram) {
  std::vector<std::u16string> logged;
  install::cpputil::logger::scoped_observer const watch(
      [&](std::u16string const& message) { logged.push_back(message); });
  add("First", [] {
    trouble::tell({trouble::severity::warning, u"C:\\x is not absolute", u"C:\\x"});
    say(u"Successfully done");
  });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::doneWithProblems);
  EXPECT_EQ(results.at(0).troubles,
            (std::vector<Trouble>{
                {Trouble::Severity::warning, "C:\\x is not absolute", "C:\\x", false}}));
  EXPECT_EQ(results.at(0).messages, (std::vector<Message>{{"Successfully done", false}}));
  EXPECT_THAT(output.str(), testing::HasSubstr("        warning: C:\\x is not absolute\n"));
  EXPECT_THAT(logged, ElementsAre(u"First: execute", u"Successfully done",
                                  u"First: warning: C:\\x is not absolute",
                                  u"First: done with problems after 0.015 s"));
}

TEST_F(RunPlan, LinesOfTheLogThatTellOfTroubleAreMarkedAndNoOthers) {
  add("First", [] {
    say(u"Doing it");
    trouble::tell({trouble::severity::error, u"Not done: because", {}, 2});
    say(u"Not done");
    say(u"because");
    say(u"Going on");
  });
  auto const results = run();
  EXPECT_EQ(results.at(0).messages,
            (std::vector<Message>{
                {"Doing it", false}, {"Not done", true}, {"because", true}, {"Going on", false}}));
}

TEST_F(RunPlan, QuietlyEveryCommandThatIsNotPlainlyDoneIsNamed) {
  add("Done", [] { setVariable(u"A"); });
  add("Idle", [] {});
  add("Troubled", [] { fail(u"It was not done"); });
  add("Failed", [] { throw std::runtime_error("x"); });
  run(Operation::execute, false, CommandWatch::Depth::outcome, Detail::quiet);
  EXPECT_EQ(output.str(),
            "[2/4] Idle: nothing to do in 0.015 s\n"
            "[3/4] Troubled: done with problems in 0.015 s\n"
            "        problem: It was not done\n"
            "[4/4] Failed: failed after 0.015 s: x\n");
}

TEST_F(RunPlan, EachCommandHasItsOwnChanges) {
  add("First", [] { setVariable(u"A"); });
  add("Second", [] { setVariable(u"B"); });
  add("Third", [] {});
  auto const results = run();
  ASSERT_EQ(results.at(0).changes.size(), 1U);
  EXPECT_EQ(results.at(0).changes[0].item.where, u"A");
  ASSERT_EQ(results.at(1).changes.size(), 1U);
  EXPECT_EQ(results.at(1).changes[0].item.where, u"B");
  EXPECT_TRUE(results.at(2).changes.empty());
}

TEST_F(RunPlan, AFailedCommandHasItsChangesToo) {
  add("First", [] {
    setVariable(u"A");
    throw std::runtime_error("half-way");
  });
  EXPECT_EQ(run().at(0).changes.size(), 1U);
}

TEST_F(RunPlan, AHandOverInARunLeavesTheOutcome) {
  add("First", [] { handOver(); });
  add("Second", [] {
    handOver();
    fail(u"Failed to do it");
  });
  auto const results = run();
  EXPECT_EQ(results.at(0).outcome, Outcome::done);
  EXPECT_EQ(results.at(0).handOvers.size(), 1U);
  EXPECT_EQ(results.at(1).outcome, Outcome::doneWithProblems);
}

TEST_F(RunPlan, InAPreviewNothingAfterAHandOverIsAFailure) {
  add("First", [] {
    handOver();
    fail(u"Failed to do it");
  });
  add("Second", [] {
    handOver();
    throw std::runtime_error("it did not run");
  });
  auto const results = preview();
  EXPECT_EQ(results.at(0).outcome, Outcome::handsOver);
  EXPECT_EQ(results.at(0).messages, std::vector<Message>());
  EXPECT_EQ(results.at(1).outcome, Outcome::handsOver);
  EXPECT_EQ(results.at(1).reason, "");
}

TEST_F(RunPlan, InAPreviewWhatComesBeforeAHandOverCounts) {
  add("First", [] {
    fail(u"Failed to do it");
    handOver();
  });
  add("Second", [] { fail(u"Failed to do it"); });
  add("Third", [] { throw std::runtime_error("x"); });
  auto const results = preview();
  EXPECT_EQ(results.at(0).outcome, Outcome::doneWithProblems);
  EXPECT_EQ(results.at(1).outcome, Outcome::doneWithProblems) << "another command's hand-over";
  EXPECT_EQ(results.at(2).outcome, Outcome::failed);
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
            "4 commands: 1 failed, 1 done with problems, 2 done, in 0.040 s");
  EXPECT_EQ(summary(reportOf({resultOf(Outcome::failed)})), "1 command: 1 failed, in 0.010 s");
  EXPECT_EQ(summary(reportOf({})), "0 commands: nothing to do");
}

}  // namespace
}  // namespace regplan
