#pragma once

#include "tests/support/restored_value.hpp"

namespace tests {

/// Who uses the machine has chosen this language for Windows, while it lives.
class UserLanguage {
 public:
  /// `registry` must outlive this object.
  UserLanguage(machine::Registry& registry, machine::UString const& name)
      : chosen_(registry, {machine::RegistryRoot::currentUser, u"Control Panel\\Desktop"},
                u"PreferredUILanguages") {
    chosen_.set(machine::RegistryValue::ofText(name + u'\0', machine::RegistryType::multiString));
  }

 private:
  RestoredValue chosen_;
};

}  // namespace tests
