#include "registration/commands/StartServices.hpp"

#include <string>

#include "install/cpputil/logger.hpp"
#include "install/postinstall/scheduled_tasks.hpp"
#include "registration/utility/failure_convention.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands {

using fl::i18n::to_ustring;
using fl::i18n::to_wstring;

StartServices::StartServices(utility::Options const& given, UString const& name,
                             UString const& string2, UString const& application,
                             UString const& string5, bool unused)
    : options(given),
      taskName(name),
      taskString2(string2),
      applicationPath(application),
      taskString5(string5),
      flag(unused) {}
StartServices::StartServices(StartServices const&) = default;
StartServices::~StartServices() = default;

void StartServices::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true) ||
      utility::skippedBy(u"areScheduledServicesEnabled", options.areScheduledServicesEnabled(),
                         false)) {
    return;
  }
  if (checkIfTaskExists(taskName)) {
    if (TaskTerminateAndDisableWrapper(taskName) == 0) {
      logTrouble(u"Failed to stop " + getTaskMessage());
      return;
    }
    log_message(u"Successfully stopped " + getTaskMessage());
  }
  install::cpputil::trouble::warn_of_relative_code(applicationPath);
  int const code =
      TaskCreateWrapper(taskName, taskString2, applicationPath, options.getRootPath(), taskString5);
  if (code == 0) {
    log_message(u"Successsfully scheduled " + getTaskMessage());
  } else {
    logTrouble(u"Failed to schedule " + getTaskMessage() + u", the error code is: " +
               to_ustring(std::to_string(code)));
  }
}

void StartServices::undo() const {
  if (utility::skippedBy(u"areScheduledServicesEnabled", options.areScheduledServicesEnabled(),
                         false)) {
    return;
  }
  if (!checkIfTaskExists(taskName)) {
    utility::skipped(u"no task " + getTaskMessage(), taskName);
    return;
  }
  if (TaskTerminateAndDisableWrapper(taskName) == 0) {
    logTrouble(getTaskMessage() + u" does not exist");
    return;
  }
  log_message(u"Successfully stopped " + getTaskMessage());
  if (TaskDeleteWrapper(taskName) != 0) {
    log_message(u"Successsfully removed " + getTaskMessage());
  } else {
    logTrouble(u"Failed to remove " + getTaskMessage());
  }
}

int StartServices::TaskCreateWrapper(UString const& name, UString const& s2,
                                     UString const& application, UString const& s4,
                                     UString const& s5) const {
  return install::postinstall::TaskCreate(to_wstring(name), to_wstring(s2), to_wstring(application),
                                          to_wstring(s4), to_wstring(s5));
}

bool StartServices::TaskExistsWrapper(UString const& name) const {
  return install::postinstall::TaskExists(to_wstring(name)) != 0;
}

bool StartServices::checkIfTaskExists(UString const& name) const {
  return TaskExistsWrapper(name) &&
         utility::toLower(GetTaskApplicationPathWrapper(name)) == utility::toLower(applicationPath);
}

int StartServices::TaskDeleteWrapper(UString const& name) const {
  return install::postinstall::TaskDelete(to_wstring(name));
}

int StartServices::TaskTerminateAndDisableWrapper(UString const& name) const {
  return install::postinstall::TaskTerminateAndDisable(to_wstring(name));
}

UString StartServices::GetTaskApplicationPathWrapper(UString const& name) const {
  return to_ustring(install::postinstall::GetTaskApplicationPath(to_wstring(name)));
}

void StartServices::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void StartServices::logTrouble(UString const& line) const {
  utility::logTrouble([this](UString const& message) { log_message(message); }, line, taskName);
}

UString StartServices::getTaskMessage() const {
  return taskName + u" for " + applicationPath;
}

}  // namespace registration::commands
