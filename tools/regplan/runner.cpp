#include "tools/regplan/runner.hpp"

#include <algorithm>
#include <array>
#include <exception>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/logger.hpp"

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

void perform(Command const& command, Operation operation) {
  if (operation == Operation::execute) {
    command.execute();
  } else {
    command.undo();
  }
}

CommandResult runCommand(PlannedCommand const& planned, Operation operation, RunObserver& observer,
                         Now const& now) {
  CommandResult result;
  result.name = planned.name;
  result.arguments = planned.arguments;
  logger::scoped_observer const watch([&](UString const& message) {
    std::string const text = fl::i18n::ustring_to_utf8(message);
    result.messages.push_back({text, reportsTrouble(text)});
    if (result.messages.back().isTrouble) result.outcome = Outcome::doneWithProblems;
    observer.message(result.messages.back());
  });
  auto const start = now();
  try {
    perform(*planned.command, operation);
  } catch (std::exception const& failure) {
    result.outcome = Outcome::failed;
    result.reason = failure.what();
  } catch (...) {
    result.outcome = Outcome::failed;
    result.reason = "an exception that carries no text";
  }
  result.duration = now() - start;
  return result;
}

std::string logLine(CommandResult const& result) {
  std::string line = result.name + ": " + std::string(outcomeName(result.outcome)) + " after " +
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

std::string_view outcomeName(Outcome outcome) {
  switch (outcome) {
    case Outcome::done:
      return "done";
    case Outcome::handsOver:
      return "hands over to foreign code";
    case Outcome::doneWithProblems:
      return "done with problems";
    case Outcome::failed:
      return "failed";
  }
  return {};
}

std::string formatDuration(std::chrono::steady_clock::duration duration) {
  auto const milliseconds = std::chrono::round<std::chrono::milliseconds>(duration).count();
  std::string const fraction = std::to_string(milliseconds % 1000);
  return std::to_string(milliseconds / 1000) + "." + std::string(3 - fraction.size(), '0') +
         fraction + " s";
}

std::vector<CommandResult> runPlan(Plan const& plan, Operation operation, RunObserver& observer,
                                   Now const& now) {
  std::vector<CommandResult> results;
  for (PlannedCommand const& planned : plan.commands) {
    observer.started(results.size() + 1, plan.commands.size(), planned.name);
    appendToLog(planned.name + (operation == Operation::execute ? ": execute" : ": undo"));
    results.push_back(runCommand(planned, operation, observer, now));
    appendToLog(logLine(results.back()));
    observer.finished(results.back());
  }
  return results;
}

}  // namespace regplan
