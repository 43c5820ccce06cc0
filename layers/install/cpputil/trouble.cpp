#include "install/cpputil/trouble.hpp"

#include <utility>

#include "install/cpputil/observers.hpp"

namespace install::cpputil::trouble {

namespace {

observers<report>& all() {
  static observers<report> instance;
  return instance;
}

}  // namespace

void tell(report const& told) {
  all().announce(told);
}

scoped_observer::scoped_observer(callback observer) : observer_(std::move(observer)) {
  all().add(observer_);
}

scoped_observer::~scoped_observer() {
  all().remove(observer_);
}

}  // namespace install::cpputil::trouble
