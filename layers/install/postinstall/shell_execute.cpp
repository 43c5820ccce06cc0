#include "install/postinstall/shell_execute.hpp"

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

bool shellExecute(std::wstring const& program, std::wstring const& parameters) {
  auto const path = fl::i18n::to_ustring(program);
  cpputil::trouble::warn_of_relative_code(path);
  return machine::current().processes().shellExecute(path, fl::i18n::to_ustring(parameters));
}

}  // namespace install::postinstall
