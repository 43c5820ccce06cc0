#include "machine/watch/change_recorder.hpp"

#include <utility>

namespace machine::watch {

void ChangeRecorder::aboutToChange(Item const& item) {
  auto identity = identityOf(item);
  if (known_.contains(identity)) return;
  touched_.push_back({item, stateOf(machine_, item, shownBytes_)});
  known_.insert(std::move(identity));
}

void ChangeRecorder::aboutToHandOver(HandOver const& handOver) {
  handOvers_.push_back(handOver);
}

ChangeRecorder::Record ChangeRecorder::take() {
  Record record;
  for (auto const& [item, before] : touched_) {
    auto after = stateOf(machine_, item, shownBytes_);
    if (after != before) record.changes.push_back({item, before, std::move(after)});
  }
  record.handOvers = std::exchange(handOvers_, {});
  touched_.clear();
  known_.clear();
  return record;
}

}  // namespace machine::watch
