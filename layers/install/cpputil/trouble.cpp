#include "install/cpputil/trouble.hpp"

#include <utility>

#include "install/cpputil/message_limit.hpp"
#include "install/cpputil/observers.hpp"
#include "machine/path_grammar.hpp"

namespace install::cpputil::trouble {

namespace {

observers<report>& all() {
  static observers<report> instance;
  return instance;
}

}  // namespace

void tell(report const& told) {
  if (told.text.size() <= longest_message && told.subject.size() <= longest_message) {
    all().announce(told);
    return;
  }
  report cut = told;
  for (UString* const text : {&cut.text, &cut.subject}) {
    if (text->size() > longest_message) *text = cut_message(*text);
  }
  all().announce(cut);
}

void warn_of_relative_code(UString const& path) {
  if (machine::path_grammar::isAbsolute(path)) return;
  tell({severity::warning,
        path + u" is not absolute: which code is loaded or run there depends on the current folder",
        path});
}

scoped_observer::scoped_observer(callback observer) : observer_(std::move(observer)) {
  all().add(observer_);
}

scoped_observer::~scoped_observer() {
  all().remove(observer_);
}

}  // namespace install::cpputil::trouble
