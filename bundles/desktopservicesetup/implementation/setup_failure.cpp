#include "bundles/desktopservicesetup/implementation/setup_failure.hpp"

#include "install/cpputil/logger.hpp"
#include "registration/utility/failure_convention.hpp"

namespace desktopservicesetup {

void reportFailure(std::string const& reason) {
  using install::cpputil::logger::append_message;
  registration::utility::logTrouble(
      [](fl::i18n::UString const& line) { append_message(line); },
      u"Brantix Service Host setup: " + fl::i18n::utf8_to_ustring(reason), {});
}

}  // namespace desktopservicesetup
