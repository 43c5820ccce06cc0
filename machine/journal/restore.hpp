#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "machine/journal/journal.hpp"

namespace machine::journal {

/// What became of one item.
struct RestoreStep {
  enum class Outcome {
    restored,       ///< it is again as it was before its first change
    already,        ///< it was so before, or is gone with the process that it belonged to
    left,           ///< not touched: changed since by others, or not empty, see `reason`
    forced,         ///< restored though others had changed it
    notRestorable,  ///< nothing that could be put back, see `reason`
    failed,         ///< see `reason`
  };

  Outcome outcome = Outcome::failed;
  Item item;
  ItemState before;                ///< where it goes back to
  std::optional<ItemState> after;  ///< how the journal's changes left it; nullopt: not known
  std::optional<ItemState> found;  ///< how restore found it; nullopt: it could not be read
  std::string reason;              ///< UTF-8, empty where the outcome says all
};

struct RestoreReport {
  std::vector<RestoreStep> steps;   ///< in the order of the work: the last item first
  std::vector<HandOver> handOvers;  ///< what code of others did was not recorded and is not undone
  std::optional<Damage> damage;     ///< where the journal could not be read on

  /// Every item in the journal is as it was.
  REGISTRATION_API bool allRestored() const;
};

struct RestoreOptions {
  bool force = false;          ///< also what others have changed since
  bool otherComputer = false;  ///< also on another computer than the journal's, as any account
  bool otherAccount = false;   ///< also as another account of the same computer
};

/// The journal is another computer's or account's, and nothing was restored. what(), UTF-8, tells
/// both.
class REGISTRATION_API ForeignJournal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws ForeignJournal for a journal that was not written on this computer
/// (machine/journal/origin.hpp) by this account, unless the options say otherwise: keys and folders
/// of the current user are another user's for another account. Throws SystemError when the machine
/// does not tell which one it is.
REGISTRATION_API void requireOrigin(Journal const& journal, Machine& machine,
                                    RestoreOptions const& options);

/// Takes a journal's changes back, the last item first, each to how it was before its first change:
/// after a success, a failure half-way or the end of the process at any moment.
///
/// - What an item must be now is what the journal's last change left. When it is something else,
///   others changed it since: it is left alone, unless `force`.
/// - An item whose last change has no end in the journal, because the process was stopped there, is
///   restored whatever it is: the change may have happened in whole, in part or not at all, and
///   which of it others did cannot be told.
/// - An item that already is as it was is fine, so a restore that was interrupted can be run again.
///   A file is put back under a name of its own, "NAME.journal-restore.tmp", and renamed over; then
///   it gets its attributes (read-only, hidden, system) and the times of its making and its last
///   write. That leaves its access rights to the folder, and its alternate streams are gone.
/// - Of folders nothing but that they are there is put back.
/// - Folders, keys and task folders that were made are removed when nothing is in them, else left,
///   even with `force`.
/// - Of a service the definition counts for whether others changed it; whether it runs is put back
///   too, waiting up to half a minute.
/// - Variables are put back while the process that set them lives; with it they are gone.
/// - Symbolic links and junctions are put back as they were, whatever they lead to; made ones are
///   removed. Other kinds of links, and what was written through a link, are not restored.
/// - A made key is removed with Registry::removeEmptyKey, which tells what that holds against
/// others.
///
/// A step's failure is reported and the others go on. Where a changed environment or file
/// associations are put back, that is broadcast.
///
/// Throws what requireOrigin throws, with nothing changed.
REGISTRATION_API RestoreReport restore(Journal const& journal, Machine& machine,
                                       RestoreOptions const& options);

}  // namespace machine::journal
