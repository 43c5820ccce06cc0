#pragma once

#include <cstddef>
#include <set>
#include <vector>

#include "machine/change.hpp"

namespace machine::watch {

/// What changed on a machine, as a list: the same for steps that were carried out and for steps
/// whose writes an overlay kept in memory. It keeps how each item was when it was first announced,
/// so its size goes by what changes; of a file's content that is a hash and at most `shownBytes`.
class REGISTRATION_API ChangeRecorder final : public ChangeObserver {
 public:
  /// Reads states from `machine`, which must outlive this object: the one that the WatchedMachine
  /// watches.
  ChangeRecorder(Machine& machine, std::size_t shownBytes)
      : machine_(machine), shownBytes_(shownBytes) {}

  void aboutToChange(Item const& item) override;
  void changed(Item const&) override {}
  void aboutToHandOver(HandOver const& handOver) override;

  /// The difference to the start, in the order in which the items were first announced. What was
  /// put back to what it was, such as a temporary file, is none. Throws SystemError for an item
  /// that can no longer be read.
  std::vector<Change> changes() const;
  /// Whether there is any; looks no further than the first. Throws as changes() does.
  bool hasChanged() const;
  /// From here on, nothing has changed. The hand-overs up to here, in order.
  std::vector<HandOver> startAnew();

 private:
  struct Touched {
    Item item;
    ItemState before;
  };

  Machine& machine_;
  std::size_t shownBytes_;
  std::vector<Touched> touched_;
  std::set<UString> known_;  // identities in touched_
  std::vector<HandOver> handOvers_;
};

}  // namespace machine::watch
