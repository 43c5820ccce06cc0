#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "install/cpputil/zip_archive.hpp"
#include "install/desktopservicesetup/DesktopServiceSetupUtility.hpp"

namespace desktopservicesetup {

using install::desktopservicesetup::DesktopServiceSetupResult;

/// A step that failed, with the result that the operation ends with.
class SetupFailure : public std::runtime_error {
 public:
  SetupFailure(DesktopServiceSetupResult result, std::string const& reason)
      : std::runtime_error(reason), result_(result) {}

  DesktopServiceSetupResult result() const { return result_; }

 private:
  DesktopServiceSetupResult result_;
};

/// Logs what failed and why, and tells it as trouble.
void reportFailure(std::string const& reason);

/// Runs `step`; a std::exception ends it with `result`, unless the step knew better.
template <typename Step>
decltype(auto) during(DesktopServiceSetupResult result, Step&& step) {
  try {
    return std::forward<Step>(step)();
  } catch (SetupFailure const&) {
    throw;
  } catch (install::cpputil::zip_error const& failure) {
    throw SetupFailure(DesktopServiceSetupResult::packageRefused, failure.what());
  } catch (std::exception const& failure) {
    throw SetupFailure(result, failure.what());
  }
}

}  // namespace desktopservicesetup
