#include "tools/regplan/report/run_report.hpp"

#include <algorithm>

#include "tools/regplan/names.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

std::string countOfAll(std::size_t count, std::size_t all, std::string_view noun) {
  if (count == all)
    return (all == 1 ? "The " : "All ") + counted(all, noun).substr(all == 1 ? 2 : 0);
  return std::to_string(count) + " of " + counted(all, noun);
}

std::string restoreHeadline(RunReport const& report) {
  std::size_t const all = report.items.size();
  bool const isDamaged = !report.damage.empty();
  if (all == 0) return isDamaged ? "The journal is not whole" : "Nothing to restore";
  std::size_t const failed = countOf(report, ItemOutcome::failed);
  if (failed > 0) return countOfAll(failed, all, "item") + " could not be restored";
  auto const left = static_cast<std::size_t>(std::ranges::count_if(
      report.items, [](RestoredItem const& item) { return isLeft(item.outcome); }));
  if (left > 0)
    return countOfAll(left, all, "item") + " left as " + (left == 1 ? "it is" : "they are");
  std::string const areBefore = (all == 1 ? " is" : " are") + std::string(" as before the run");
  if (isDamaged) return "The journal is not whole: " + counted(all, "item") + areBefore;
  return countOfAll(all, all, "item") + areBefore;
}

std::string countOf(std::size_t count, ItemOutcome outcome) {
  return std::to_string(count) + " " + std::string(nameOf(outcome).words);
}

std::string countOf(std::size_t count, Outcome outcome) {
  bool const hand = outcome == Outcome::handsOver && count > 1;
  return std::to_string(count) + " " + (hand ? "hand over" : std::string(nameOf(outcome).words));
}

template <typename Outcomes>
std::string counts(RunReport const& report, Outcomes const& kinds) {
  std::string text;
  for (auto const outcome : kinds) {
    std::size_t const count = countOf(report, outcome);
    if (count > 0) text += countOf(count, outcome) + ", ";
  }
  return text;
}

}  // namespace

std::string_view verbName(Verb verb) {
  switch (verb) {
    case Verb::preview:
      return "preview";
    case Verb::run:
      return "run";
    case Verb::undo:
      return "undo";
    case Verb::restore:
      return "restore";
  }
  return {};
}

std::string_view verbTitle(Verb verb) {
  switch (verb) {
    case Verb::preview:
      return "Preview";
    case Verb::run:
      return "Run";
    case Verb::undo:
      return "Undo";
    case Verb::restore:
      return "Restore";
  }
  return {};
}

bool isPutBack(RestoredItem::Outcome outcome) {
  return outcome == ItemOutcome::restored || outcome == ItemOutcome::forced;
}

bool isLeft(ItemOutcome outcome) {
  return outcome == ItemOutcome::left || outcome == ItemOutcome::notRestorable;
}

std::size_t countOf(RunReport const& report, Outcome outcome) {
  return static_cast<std::size_t>(
      std::ranges::count(report.commands, outcome, &CommandResult::outcome));
}

std::size_t countOf(RunReport const& report, ItemOutcome outcome) {
  return static_cast<std::size_t>(
      std::ranges::count(report.items, outcome, &RestoredItem::outcome));
}

std::size_t changeCount(RunReport const& report) {
  std::size_t count = 0;
  for (CommandResult const& command : report.commands) count += command.changes.size();
  return count;
}

std::size_t handOverCount(RunReport const& report) {
  std::size_t count = report.handOvers.size();
  for (CommandResult const& command : report.commands) count += command.handOvers.size();
  return count;
}

bool hasFailures(RunReport const& report) {
  return countOf(report, Outcome::failed) > 0 || countOf(report, ItemOutcome::failed) > 0;
}

bool hasProblems(RunReport const& report) {
  return countOf(report, Outcome::doneWithProblems) > 0;
}

std::string headline(RunReport const& report) {
  if (report.request.verb == Verb::restore) return restoreHeadline(report);
  std::size_t const all = report.commands.size();
  if (all == 0) return "Nothing to do";
  std::size_t const failed = countOf(report, Outcome::failed);
  if (failed > 0) return countOfAll(failed, all, "command") + " failed";
  std::size_t const troubled = countOf(report, Outcome::doneWithProblems);
  if (troubled > 0) return countOfAll(troubled, all, "command") + " reported problems";
  std::size_t const handing = countOf(report, Outcome::handsOver);
  if (handing > 0) {
    return countOfAll(handing, all, "command") + (handing == 1 ? " hands" : " hand") +
           " over to foreign code";
  }
  std::size_t const idle = countOf(report, Outcome::nothingToDo);
  if (idle == all) return "Nothing to do for " + counted(all, "command");
  std::string const done = report.request.verb == Verb::preview ? " would be done" : " done";
  if (idle == 0) return countOfAll(all, all, "command") + done;
  return countOfAll(all - idle, all, "command") + done + ", nothing to do for " +
         std::to_string(idle);
}

std::string summary(RunReport const& report) {
  bool const isRestore = report.request.verb == Verb::restore;
  std::size_t const all = isRestore ? report.items.size() : report.commands.size();
  std::string const text = counted(all, isRestore ? "item" : "command") + ": ";
  if (all == 0)
    return text + (report.damage.empty() ? "nothing to do" : "the journal is not whole");
  std::string const foreseen =
      report.request.verb == Verb::preview
          ? "; " + counted(changeCount(report), "change") + " foreseen, none made"
          : "";
  return text +
         (isRestore ? counts(report, itemOutcomesWorstFirst) : counts(report, outcomesWorstFirst)) +
         "in " + formatDuration(report.duration) + foreseen +
         (report.damage.empty() ? "" : "; the journal is not whole");
}

machine::UString handOverText(machine::HandOver const& handOver) {
  machine::UString text = machine::toUtf16(nameOf(handOver.kind).words) + u" " + handOver.what;
  if (!handOver.arguments.empty()) text += u" " + handOver.arguments;
  return text;
}

}  // namespace regplan
