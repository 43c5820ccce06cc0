#pragma once

#include <array>
#include <string_view>

#include "machine/change.hpp"
#include "machine/journal/restore.hpp"
#include "tools/regplan/runner.hpp"

namespace regplan {

/// What one value of an enumeration is called.
struct Name {
  std::string_view key;    ///< by reports and events for programs
  std::string_view words;  ///< by what people read
};

/// How good an outcome is: it has one colour everywhere.
enum class Tone {
  good,      ///< green
  idle,      ///< no colour: nothing happened
  noted,     ///< blue: somebody may want to know
  doubtful,  ///< yellow: somebody must look
  bad,       ///< red
};

using ItemOutcome = machine::journal::RestoreStep::Outcome;

inline constexpr std::array outcomesWorstFirst = {Outcome::failed, Outcome::doneWithProblems,
                                                  Outcome::handsOver, Outcome::nothingToDo,
                                                  Outcome::done};
inline constexpr std::array itemOutcomesWorstFirst = {
    ItemOutcome::failed, ItemOutcome::notRestorable, ItemOutcome::left,
    ItemOutcome::forced, ItemOutcome::restored,      ItemOutcome::already};

Tone toneOf(Outcome outcome);
Tone toneOf(ItemOutcome outcome);

Name nameOf(Outcome outcome);
Name nameOf(ItemOutcome outcome);
Name nameOf(Trouble::Severity severity);
Name nameOf(machine::Item::Kind kind);
Name nameOf(machine::HandOver::Kind kind);
Name nameOf(machine::WindowState window);
Name nameOf(machine::ServiceStart start);
Name nameOf(machine::ServiceState state);
Name nameOf(machine::ServiceRecovery::Kind kind);

}  // namespace regplan
