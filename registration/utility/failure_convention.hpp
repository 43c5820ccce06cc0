#pragma once

#include <exception>
#include <utility>

#include "install/cpputil/trouble.hpp"
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

/// Logs `line`, which says that something was not done, and tells it as trouble about `subject`.
/// `log` takes one message.
template <typename Log>
void logTrouble(Log&& log, UString const& line, UString const& subject) {
  using namespace install::cpputil;
  trouble::tell({trouble::severity::error, line, subject, 1});
  log(line);
}

/// Tells of a failure that two lines of the log will say: what failed, and the exception's text.
inline void tellFailure(UString const& failureLine, UString const& text, UString const& subject) {
  using namespace install::cpputil;
  trouble::tell({trouble::severity::error, failureLine + u": " + text, subject, 2});
}

/// Tells, beside the log, what it passes over in silence: done, but to be looked at.
inline void warn(UString const& text, UString const& subject) {
  using namespace install::cpputil;
  trouble::tell({trouble::severity::warning, text, subject});
}

/// Tells that the command that runs has nothing to do, and why.
inline void skipped(UString const& reason, UString const& subject) {
  using namespace install::cpputil;
  trouble::tell({trouble::severity::skipped, reason, subject});
}

/// Whether the option that this getter of Options gives, `value`, leaves the command that runs
/// nothing to do because it is `deciding`; told when it does.
inline bool skippedBy(char16_t const* getter, bool value, bool deciding) {
  if (value != deciding) return false;
  skipped(getter + UString(value ? u" is true" : u" is false"), getter);
  return true;
}

/// The usual report: the line that names what failed, then the exception's text as a line of its
/// own.
template <typename Log, typename Step>
void loggingFailure(Log&& log, UString const& failureLine, Step&& step) {
  reportingFailure(std::forward<Step>(step), [&](UString const& text) {
    tellFailure(failureLine, text, {});
    log(failureLine);
    log(text);
  });
}

}  // namespace registration::utility
