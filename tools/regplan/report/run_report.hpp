#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "machine/journal/restore.hpp"
#include "tools/regplan/runner.hpp"

/// What regplan did, as one value: every report and view is made from it.
namespace regplan {

enum class Verb { preview, run, undo, restore };

/// "preview", "run", "undo", "restore".
std::string_view verbName(Verb verb);
/// "Preview", "Run", "Undo", "Restore".
std::string_view verbTitle(Verb verb);

/// What was asked. Texts are UTF-8 as they came.
struct Request {
  Verb verb = Verb::run;
  std::string file{};          ///< the plan; of a restore: the journal
  std::string machine{};       ///< the folder of a simulated machine; empty: this computer
  std::string computer{};      ///< the computer's own name, where it tells one
  std::string log{};           ///< empty: none is written
  std::string journal{};       ///< empty: none is written
  bool force = false;          ///< of a restore: also what was changed since
  bool otherComputer = false;  ///< of a restore: also on another computer than the journal's
  bool otherAccount = false;   ///< of a restore: also as another account than the journal's
  /// Of a restore from a journal that others could have written: why, else empty.
  std::string untrustedJournal{};
  std::vector<Given> options{};
  std::chrono::system_clock::time_point started{};
};

/// What a restore did about one item of the journal.
struct RestoredItem {
  using Outcome = machine::journal::RestoreStep::Outcome;

  machine::Item item;
  Outcome outcome = Outcome::restored;
  std::string reason{};  ///< where the outcome does not say all
  /// How it was found, and how it was before the journal's first change of it: how it is again
  /// where it was put back. None where it could not be read, or was so already.
  std::optional<machine::Change> change{};
};

/// It is again as it was before.
bool isPutBack(RestoredItem::Outcome outcome);

/// Not as before, though nothing failed.
bool isLeft(RestoredItem::Outcome outcome);

struct RunReport {
  Request request;
  std::vector<CommandResult> commands{};       ///< of a preview, run or undo, in the plan's order
  std::vector<RestoredItem> items{};           ///< of a restore
  std::vector<machine::HandOver> handOvers{};  ///< of a restore: what no restore takes back
  std::string damage{};  ///< of a restore: where the journal could not be read on; else empty
  std::chrono::steady_clock::duration duration{};
};

std::size_t countOf(RunReport const& report, Outcome outcome);
std::size_t countOf(RunReport const& report, RestoredItem::Outcome outcome);
std::size_t changeCount(RunReport const& report);
std::size_t handOverCount(RunReport const& report);
/// A command failed, or an item could not be restored.
bool hasFailures(RunReport const& report);
/// A command told of trouble.
bool hasProblems(RunReport const& report);

/// The result in one sentence, the worst first: "1 of 3 commands failed", "All 3 commands done".
std::string headline(RunReport const& report);

/// "3 commands: 2 done, 1 failed, in 0.120 s"; of a preview also how many changes it lists; of a
/// restore "5 items: 4 restored, ...".
std::string summary(RunReport const& report);

/// "program C:\x\setup.exe -i": the hand-over in one line, not yet fit to print.
machine::UString handOverText(machine::HandOver const& handOver);

/// What every page says of hand-overs.
inline constexpr std::string_view handOverNote =
    "to foreign code: what it does is not in this list, and no restore takes it back";

}  // namespace regplan
