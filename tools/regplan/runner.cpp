#include "tools/regplan/runner.hpp"

#include <exception>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/logger.hpp"
#include "tools/regplan/names.hpp"

namespace regplan {
namespace {

namespace logger = install::cpputil::logger;
namespace trouble = install::cpputil::trouble;

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
  CommandRun(PlannedCommand const& planned, RunObserver& observer, CommandWatch& watch)
      : planned_(planned), observer_(observer), watch_(watch) {
    result_.name = planned.name;
    result_.arguments = planned.arguments;
  }

  CommandResult run(Operation operation, Now const& now) {
    watch_.begin(observer_);
    logger::scoped_observer const listener(
        [this](UString const& message) { hear(fl::i18n::ustring_to_utf8(message)); });
    trouble::scoped_observer const troubles([this](trouble::report const& told) { hear(told); });
    auto const start = now();
    try {
      perform(*planned_.command, operation);
    } catch (...) {
      endWith(currentExceptionText());
    }
    result_.duration = now() - start;
    bool const hasChanged = watch_.end(result_);
    if (!hasFailed_) result_.outcome = outcomeWithoutFailure(hasChanged);
    if (result_.outcome == Outcome::nothingToDo) {
      result_.reason = reasonToSkip_.text;
      result_.decidedBy = reasonToSkip_.subject;
    }
    return std::move(result_);
  }

 private:
  Outcome outcomeWithoutFailure(bool hasChanged) const {
    if (!result_.troubles.empty()) return Outcome::doneWithProblems;
    if (watch_.isBeyondForesight()) return Outcome::handsOver;
    return hasChanged || !result_.handOvers.empty() ? Outcome::done : Outcome::nothingToDo;
  }

  // After a hand-over a preview would tell of what the foreign code was to do and did not, as of a
  // success or a failure.

  void hear(std::string const& text) {
    if (watch_.isBeyondForesight()) return;
    bool const isTrouble = linesOfTrouble_ > 0;
    if (isTrouble) --linesOfTrouble_;
    result_.messages.push_back({text, isTrouble});
    observer_.message(result_.messages.back());
  }

  void hear(trouble::report const& told) {
    if (watch_.isBeyondForesight()) return;
    Trouble const trouble{told.severity, fl::i18n::ustring_to_utf8(told.text),
                          fl::i18n::ustring_to_utf8(told.subject), told.logged_lines > 0};
    if (told.severity == Trouble::Severity::skipped) {
      reasonToSkip_ = trouble;
      return;
    }
    linesOfTrouble_ = told.logged_lines;
    result_.troubles.push_back(trouble);
    observer_.trouble(trouble);
  }

  void endWith(std::string const& reason) {
    if (watch_.isBeyondForesight()) return;
    hasFailed_ = true;
    result_.outcome = Outcome::failed;
    result_.reason = reason;
  }

  PlannedCommand const& planned_;
  RunObserver& observer_;
  CommandWatch& watch_;
  CommandResult result_;
  bool hasFailed_ = false;
  std::size_t linesOfTrouble_ = 0;  ///< so many of the next messages tell of trouble
  Trouble reasonToSkip_{};
};

void appendOutcomeToLog(CommandResult const& result) {
  for (Trouble const& trouble : result.troubles) {
    if (!trouble.isLogged) {
      appendToLog(result.name + ": " + std::string(nameOf(trouble.severity).words) + ": " +
                  trouble.text);
    }
  }
  std::string const reason = result.reason.empty() ? "" : ": " + result.reason;
  appendToLog(result.name + ": " + std::string(nameOf(result.outcome).words) + " after " +
              formatDuration(result.duration) + reason);
}

}  // namespace

std::string formatDuration(std::chrono::steady_clock::duration duration) {
  auto const milliseconds = std::chrono::round<std::chrono::milliseconds>(duration).count();
  std::string const fraction = std::to_string(milliseconds % 1000);
  return std::to_string(milliseconds / 1000) + "." + std::string(3 - fraction.size(), '0') +
         fraction + " s";
}

CommandWatch::CommandWatch(machine::Machine& machine, bool isPreview, Depth depth)
    : recorder_(machine, depth == Depth::changes ? shownFileBytes : 0),
      isPreview_(isPreview),
      depth_(depth) {}

void CommandWatch::begin(RunObserver& observer) {
  observer_ = &observer;
  handedOver_ = false;
  unread_.clear();
}

void CommandWatch::aboutToChange(machine::Item const& item) {
  try {
    recorder_.aboutToChange(item);
  } catch (std::exception const& failure) {
    unread_ = failure.what();
  }
}

bool CommandWatch::end(CommandResult& result) {
  bool hasChanged = false;
  try {
    if (depth_ == Depth::changes) {
      result.changes = recorder_.changes();
      hasChanged = !result.changes.empty();
    } else {
      hasChanged = recorder_.hasChanged();
    }
  } catch (std::exception const& failure) {
    unread_ = failure.what();
  }
  result.handOvers = recorder_.startAnew();
  if (!unread_.empty() && depth_ == Depth::changes) {
    result.troubles.push_back(
        {Trouble::Severity::warning, "not all that this command changed is listed: " + unread_});
    observer_->trouble(result.troubles.back());
  }
  observer_ = nullptr;
  return hasChanged || !unread_.empty();
}

void CommandWatch::aboutToHandOver(machine::HandOver const& handOver) {
  recorder_.aboutToHandOver(handOver);
  handedOver_ = true;
  if (observer_) observer_->handingOver(handOver);
}

std::vector<CommandResult> runPlan(Plan const& plan, Operation operation, RunObserver& observer,
                                   Now const& now, CommandWatch& watch) {
  std::vector<CommandResult> results;
  for (PlannedCommand const& planned : plan.commands) {
    observer.started(results.size() + 1, plan.commands.size(), planned.name);
    appendToLog(planned.name + (operation == Operation::execute ? ": execute" : ": undo"));
    results.push_back(CommandRun(planned, observer, watch).run(operation, now));
    appendOutcomeToLog(results.back());
    observer.finished(results.back());
  }
  return results;
}

}  // namespace regplan
