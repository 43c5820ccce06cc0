#pragma once

#include <utility>
#include <vector>

#include "machine/change.hpp"

namespace machine::watch {

using ObserverList = std::vector<ChangeObserver*>;

/// The items that one operation may change, announced to all observers as long as this object
/// lives.
class Announcement {
 public:
  /// What an observer throws comes out; the items announced until then are taken back by changed().
  Announcement(ObserverList const& observers, std::vector<Item> items);
  /// Ends it when end() did not. What an observer throws then goes unnoticed: the operation has
  /// failed already, or a writer was left without being closed.
  ~Announcement();
  Announcement(Announcement const&) = delete;
  Announcement& operator=(Announcement const&) = delete;

  /// Tells that the operation has ended: every observer of every item, then throws what the first
  /// of them threw.
  void end();

 private:
  ObserverList const& observers_;
  std::vector<Item> items_;
  std::size_t announced_ = 0;  ///< of items_, to at least one observer
};

/// Runs an operation between the two calls.
template <class Call>
auto announcing(ObserverList const& observers, std::vector<Item> items, Call&& call) {
  Announcement announcement(observers, std::move(items));
  if constexpr (std::is_void_v<decltype(call())>) {
    call();
    announcement.end();
  } else {
    auto result = call();
    announcement.end();
    return result;
  }
}

}  // namespace machine::watch
