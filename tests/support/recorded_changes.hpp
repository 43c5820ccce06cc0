#pragma once

#include <string>
#include <vector>

#include "machine/change.hpp"

namespace tests {

/// Notes what it hears as lines: "about file C:\x", "changed file C:\x", "hand over program C:\x
/// -a".
class RecordedChanges final : public machine::ChangeObserver {
 public:
  void aboutToChange(machine::Item const& item) override { note("about " + nameOf(item)); }
  void changed(machine::Item const& item) override { note("changed " + nameOf(item)); }
  void aboutToHandOver(machine::HandOver const& handOver) override {
    static constexpr char const* kinds[] = {"program", "shell program", "module", "bundles"};
    note(std::string("hand over ") + kinds[static_cast<int>(handOver.kind)] + ' ' +
         machine::toUtf8(handOver.what) + ' ' + machine::toUtf8(handOver.arguments));
  }

  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  static std::string nameOf(machine::Item const& item) {
    static constexpr char const* kinds[] = {"file",     "folder", "shortcut",    "key",    "value",
                                            "variable", "task",   "task folder", "service"};
    auto const name =
        std::string(kinds[static_cast<int>(item.kind)]) + ' ' + machine::toUtf8(item.where);
    return item.kind == machine::Item::Kind::registryValue
               ? name + " [" + machine::toUtf8(item.value) + "]"
               : name;
  }
  void note(std::string line) { lines_.push_back(std::move(line)); }

  std::vector<std::string> lines_;
};

}  // namespace tests
