#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace install::cpputil {

/// The observers of one kind of announcement that live at the moment, the outermost first.
template <typename Announced>
class observers {
 public:
  using callback = std::function<void(Announced const&)>;

  void add(callback const& observer) { all_.push_back(&observer); }
  void remove(callback const& observer) { std::erase(all_, &observer); }
  void announce(Announced const& announced) const {
    for (std::size_t i = 0; i < all_.size(); ++i) {  // an observer may add and remove others
      (*all_[i])(announced);
    }
  }

 private:
  std::vector<callback const*> all_;
};

}  // namespace install::cpputil
