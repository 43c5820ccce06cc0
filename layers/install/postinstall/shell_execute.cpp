#include "install/postinstall/shell_execute.hpp"

#include "fl/i18n/ustring.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

bool shellExecute(std::wstring const& program, std::wstring const& parameters) {
  return machine::current().processes().shellExecute(fl::i18n::to_ustring(program),
                                                     fl::i18n::to_ustring(parameters));
}

}  // namespace install::postinstall
