#pragma once

#include <optional>
#include <utility>

#include "machine/path_grammar.hpp"
#include "machine/registry.hpp"

namespace tests {

/// Puts a registry value, and the keys above it, back as they were.
class RestoredValue {
 public:
  /// `registry` must outlive this object.
  RestoredValue(machine::Registry& registry, machine::RegistryKey key, machine::UString name)
      : registry_(registry),
        key_(std::move(key)),
        name_(std::move(name)),
        before_(registry.value(key_, name_)) {
    for (auto path = key_.path; !registry.keyExists({key_.root, path});
         path = machine::UString(machine::path_grammar::parent(path)))
      highestMissing_ = path;
  }
  ~RestoredValue() {
    if (highestMissing_) {
      registry_.removeKey({key_.root, *highestMissing_});
    } else if (before_) {
      registry_.setValue(key_, name_, *before_);
    } else {
      registry_.removeValue(key_, name_);
    }
  }
  RestoredValue(RestoredValue const&) = delete;
  RestoredValue& operator=(RestoredValue const&) = delete;

  void set(machine::RegistryValue const& value) { registry_.setValue(key_, name_, value); }
  void remove() { registry_.removeValue(key_, name_); }

 private:
  machine::Registry& registry_;
  machine::RegistryKey key_;
  machine::UString name_;
  std::optional<machine::RegistryValue> before_;
  std::optional<machine::UString> highestMissing_;
};

}  // namespace tests
