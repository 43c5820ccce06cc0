#include "install/postinstall/system_directory.hpp"

#include "machine/machine.hpp"

namespace install::postinstall {

fl::i18n::UString systemDirectory() {
  return machine::current().shell().knownFolder(machine::KnownFolder::system);
}

}  // namespace install::postinstall
