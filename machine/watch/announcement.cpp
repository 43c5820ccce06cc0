#include "machine/watch/announcement.hpp"

#include <exception>

namespace machine::watch {

Announcement::Announcement(ObserverList const& observers, std::vector<Item> items)
    : observers_(observers), items_(std::move(items)) {
  try {
    for (auto const& item : items_) {
      ++announced_;
      for (auto* const observer : observers_) observer->aboutToChange(item);
    }
    if (items_.empty()) return;
    for (auto* const observer : observers_) observer->allAnnounced();
  } catch (...) {
    try {
      end();
    } catch (...) {
      // The first failure is the one to tell.
    }
    throw;
  }
}

Announcement::~Announcement() {
  try {
    end();
  } catch (...) {
    // See the header.
  }
}

void Announcement::end() {
  std::exception_ptr first;
  auto const count = std::exchange(announced_, 0);
  for (std::size_t i = 0; i < count; ++i) {
    for (auto* const observer : observers_) {
      try {
        observer->changed(items_[i]);
      } catch (...) {
        if (!first) first = std::current_exception();
      }
    }
  }
  if (first) std::rethrow_exception(first);
}

}  // namespace machine::watch
