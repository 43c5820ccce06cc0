#include "install/postinstall/modules.hpp"

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

bool callEntryPoint(std::wstring const& module, fl::filesystem::Path const& file,
                    std::string const& entryPoint, std::array<std::string, 3> const& arguments) {
  try {
    return machine::current().modules().callEntryPoint(fl::i18n::to_ustring(module), file.ustring(),
                                                       entryPoint,
                                                       arguments) == machine::ModuleCall::called;
  } catch (machine::OtherModule const& other) {
    using namespace cpputil;
    trouble::tell({trouble::severity::error,
                   fl::i18n::utf8_to_ustring(other.what()) +
                       u"; it was released, and nothing of it was called",
                   file.ustring()});
    return false;
  }
}

}  // namespace install::postinstall
