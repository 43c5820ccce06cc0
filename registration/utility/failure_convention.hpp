#pragma once

#include <exception>
#include <utility>

#include "registration/utility/types.hpp"

/// How a command reports that something failed, told once. Only std::exception ends here; whatever
/// else is thrown, and whatever logging itself throws, passes on.
namespace registration::utility {

/// Runs `step`. When it throws a std::exception, `report` receives the exception's text, and the
/// caller goes on.
template <typename Step, typename Report>
void reportingFailure(Step&& step, Report&& report) {
  try {
    std::forward<Step>(step)();
  } catch (std::exception const& failure) {
    report(fl::i18n::utf8_to_ustring(failure.what()));
  }
}

/// The usual report: the line that names what failed, then the exception's text as a line of its
/// own. `log` takes one message.
template <typename Log, typename Step>
void loggingFailure(Log&& log, UString const& failureLine, Step&& step) {
  reportingFailure(std::forward<Step>(step), [&](UString const& text) {
    log(failureLine);
    log(text);
  });
}

}  // namespace registration::utility
