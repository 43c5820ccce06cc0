#include "machine/watch/change_recorder.hpp"

#include <algorithm>
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

std::vector<Change> ChangeRecorder::changes() const {
  std::vector<Change> result;
  for (auto const& [item, before] : touched_) {
    auto after = stateOf(machine_, item, shownBytes_);
    if (after != before) result.push_back({item, before, std::move(after)});
  }
  return result;
}

bool ChangeRecorder::hasChanged() const {
  return std::ranges::any_of(touched_, [this](Touched const& touched) {
    return stateOf(machine_, touched.item, shownBytes_) != touched.before;
  });
}

std::vector<HandOver> ChangeRecorder::startAnew() {
  touched_.clear();
  known_.clear();
  return std::exchange(handOvers_, {});
}

}  // namespace machine::watch
