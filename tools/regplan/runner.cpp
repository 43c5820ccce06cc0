#include "tools/regplan/runner.hpp"

#include <algorithm>
#include <array>
#include <exception>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/logger.hpp"
#include "tools/regplan/names.hpp"

namespace regplan {
namespace {

namespace logger = install::cpputil::logger;

/// A log that can no longer be written must not keep the remaining commands from running; commands
/// that log meet the same failure and report it.
void appendToLog(std::string const& text) {
  try {
    logger::append_message(text);
  } catch (std::exception const&) {
  }
}

/// Longer files are told by size and hash alone.
constexpr std::size_t shownFileBytes = std::size_t{64} * 1024;

void perform(Command const& command, Operation operation) {
  if (operation == Operation::execute) {
    command.execute();
  } else {
    command.undo();
  }
}

std::string currentExceptionText() {
  try {
    throw;
  } catch (std::exception const& failure) {
    return failure.what();
  } catch (...) {
    return "an exception that carries no text";
  }
}

/// One command of a run.
class CommandRun {
 public:
  CommandRun(PlannedCommand const& planned, RunObserver& observer, CommandWatch* watch)
      : planned_(planned), observer_(observer), watch_(watch) {
    result_.name = planned.name;
    result_.arguments = planned.arguments;
  }

  CommandResult run(Operation operation, Now const& now) {
    if (watch_) watch_->begin(observer_);
    logger::scoped_observer const listener(
        [this](UString const& message) { hear(fl::i18n::ustring_to_utf8(message)); });
    auto const start = now();
    try {
      perform(*planned_.command, operation);
    } catch (...) {
      endWith(currentExceptionText());
    }
    if (isBeyondForesight() && result_.outcome == Outcome::done) {
      result_.outcome = Outcome::handsOver;
    }
    result_.duration = now() - start;
    if (watch_) watch_->end(result_);
    return std::move(result_);
  }

 private:
  bool isBeyondForesight() const { return watch_ && watch_->isBeyondForesight(); }

  void hear(std::string const& text) {
    // It would tell of what the foreign code was to do and did not, as of a success or a failure.
    if (isBeyondForesight()) return;
    bool const isTrouble = reportsTrouble(text);
    if (isTrouble) result_.outcome = Outcome::doneWithProblems;
    result_.messages.push_back({text, isTrouble});
    observer_.message(result_.messages.back());
  }

  void endWith(std::string const& reason) {
    if (isBeyondForesight()) return;
    result_.outcome = Outcome::failed;
    result_.reason = reason;
  }

  PlannedCommand const& planned_;
  RunObserver& observer_;
  CommandWatch* watch_;
  CommandResult result_;
};

std::string logLine(CommandResult const& result) {
  std::string line = result.name + ": " + std::string(nameOf(result.outcome).words) + " after " +
                     formatDuration(result.duration);
  if (result.outcome == Outcome::failed) line += ": " + result.reason;
  return line;
}

}  // namespace

bool reportsTrouble(std::string_view message) {
  static constexpr std::array<std::string_view, 5> beginnings = {
      "Unable to ", "Failed to ", "Error ", "Exception ", "Path too long, "};
  return std::ranges::any_of(
      beginnings, [message](std::string_view beginning) { return message.starts_with(beginning); });
}

std::string formatDuration(std::chrono::steady_clock::duration duration) {
  auto const milliseconds = std::chrono::round<std::chrono::milliseconds>(duration).count();
  std::string const fraction = std::to_string(milliseconds % 1000);
  return std::to_string(milliseconds / 1000) + "." + std::string(3 - fraction.size(), '0') +
         fraction + " s";
}

CommandWatch::CommandWatch(machine::Machine& machine, bool isPreview)
    : recorder_(machine, shownFileBytes), isPreview_(isPreview) {}

void CommandWatch::begin(RunObserver& observer) {
  observer_ = &observer;
  handedOver_ = false;
}

void CommandWatch::end(CommandResult& result) {
  observer_ = nullptr;
  try {
    auto record = recorder_.take();
    result.changes = std::move(record.changes);
    result.handOvers = std::move(record.handOvers);
  } catch (std::exception const& failure) {
    result.messages.push_back(
        {"what this command changed is listed with a later one, or not at all: " +
             std::string(failure.what()),
         true});
  }
}

void CommandWatch::aboutToHandOver(machine::HandOver const& handOver) {
  recorder_.aboutToHandOver(handOver);
  handedOver_ = true;
  if (observer_) observer_->handingOver(handOver);
}

std::vector<CommandResult> runPlan(Plan const& plan, Operation operation, RunObserver& observer,
                                   Now const& now, CommandWatch* watch) {
  std::vector<CommandResult> results;
  for (PlannedCommand const& planned : plan.commands) {
    observer.started(results.size() + 1, plan.commands.size(), planned.name);
    appendToLog(planned.name + (operation == Operation::execute ? ": execute" : ": undo"));
    results.push_back(CommandRun(planned, observer, watch).run(operation, now));
    appendToLog(logLine(results.back()));
    observer.finished(results.back());
  }
  return results;
}

}  // namespace regplan
