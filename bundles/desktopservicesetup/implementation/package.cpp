#include "bundles/desktopservicesetup/implementation/package.hpp"

#include "bundles/desktopservicesetup/implementation/setup_failure.hpp"
#include "bundles/desktopservicesetup/implementation/text_files.hpp"
#include "machine/change.hpp"

namespace desktopservicesetup {

using install::cpputil::zip_archive;
using Result = DesktopServiceSetupResult;

std::unique_ptr<zip_archive> openPackage(Path const& file, Download const* announced) {
  auto opened = during(Result::packageMissing,
                       [&] { return machine::current().files().openForReading(file.ustring()); });
  return during(Result::packageRefused, [&] {
    requireOwn(*opened, file);
    auto const content = machine::fileContent(*opened, 0);
    if (announced && (content.size != announced->size || content.sha256 != announced->sha256)) {
      throw SetupFailure(Result::downloadRefused, fl::i18n::ustring_to_utf8(file.ustring()) +
                                                      " is not the file that was announced");
    }
    return std::make_unique<zip_archive>(file, std::move(opened), content.size);
  });
}

}  // namespace desktopservicesetup
