#include "install/postinstall/environment.hpp"

#include <string>

#include "machine/machine.hpp"

namespace install::postinstall {

std::intptr_t broadcastEnvironmentChange() {
  return machine::current().environment().broadcastSettingChange();
}

bool setProcessVariable(UString const& name, UString const& value) {
  return machine::current().environment().setVariable(name, value);
}

UString lastErrorText() {
  return fl::i18n::to_ustring(std::to_string(machine::current().environment().lastError()));
}

}  // namespace install::postinstall
