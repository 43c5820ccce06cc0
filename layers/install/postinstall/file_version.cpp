#include "install/postinstall/file_version.hpp"

#include <string>

#include "machine/machine.hpp"

namespace install::postinstall {

fl::i18n::UString readFileVersion(fl::i18n::UString const& file) {
  machine::FileVersion const version =
      machine::current().files().fileVersion(file).value_or(machine::FileVersion{});
  std::string text;
  for (auto const number : version) {
    text += (text.empty() ? "" : ".") + std::to_string(number);
  }
  return fl::i18n::to_ustring(text);
}

}  // namespace install::postinstall
