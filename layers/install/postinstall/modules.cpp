#include "install/postinstall/modules.hpp"

#include "fl/i18n/ustring.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

bool callEntryPoint(std::wstring const& module, std::string const& entryPoint,
                    std::array<std::string, 3> const& arguments) {
  return machine::current().modules().callEntryPoint(fl::i18n::to_ustring(module), entryPoint,
                                                     arguments) == machine::ModuleCall::called;
}

}  // namespace install::postinstall
