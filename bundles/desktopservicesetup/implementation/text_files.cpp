#include "bundles/desktopservicesetup/implementation/text_files.hpp"

#include <array>
#include <stdexcept>

#include "machine/machine.hpp"

namespace desktopservicesetup {

void requireOwn(machine::FileReader& opened, Path const& file) {
  auto const access = opened.foreignAccess();
  if (access.any()) {
    throw std::runtime_error(fl::i18n::ustring_to_utf8(file.ustring()) + " " +
                             machine::weaknessOf(access));
  }
}

std::string readText(Path const& file, std::size_t limit) {
  auto const reader = machine::current().files().openForReading(file.ustring());
  requireOwn(*reader, file);
  std::string content;
  std::array<char, 4096> buffer;
  while (std::size_t const count = reader->read(buffer)) {
    content.append(buffer.data(), count);
    if (content.size() > limit) {
      throw std::runtime_error(fl::i18n::ustring_to_utf8(file.ustring()) + " is too large");
    }
  }
  return content;
}

}  // namespace desktopservicesetup
