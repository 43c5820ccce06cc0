#pragma once

#include "machine/forwarding.hpp"
#include "machine/path_grammar.hpp"

namespace tests {

/// Another machine's shell with the known folders in a folder of the test's, "Desktop",
/// "Programs", ..., and a count of announcements.
class RedirectedShell final : public machine::ForwardingShell {
 public:
  RedirectedShell(Shell& inner, machine::UString folder)
      : ForwardingShell(inner), folder_(std::move(folder)) {}

  machine::UString knownFolder(machine::KnownFolder folder) override {
    return machine::path_grammar::join(folder_, nameOf(folder));
  }
  void announceAssociationsChanged() override {
    ++announcements;
    ForwardingShell::announceAssociationsChanged();
  }

  int announcements = 0;

 private:
  static std::u16string_view nameOf(machine::KnownFolder folder) {
    switch (folder) {
      case machine::KnownFolder::desktop:
        return u"Desktop";
      case machine::KnownFolder::startMenu:
        return u"Programs";
      default:
        return u"Other";
    }
  }
  machine::UString folder_;
};

}  // namespace tests
