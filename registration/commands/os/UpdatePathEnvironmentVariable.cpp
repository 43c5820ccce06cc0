#include "registration/commands/UpdatePathEnvironmentVariable.hpp"

#include <cstdint>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "install/postinstall/RegistryUtil.hpp"
#include "install/postinstall/environment.hpp"
#include "registration/commands/os/path_rewrite.hpp"
#include "registration/utility/failure_convention.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands {

namespace {

constexpr wchar_t environmentKey[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
constexpr wchar_t pathValueName[] = L"Path";

}  // namespace

using install::postinstall::RegistryUtil;

UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable(utility::Options const& given,
                                                             UString const& entry,
                                                             UString const& version,
                                                             UString const& executable)
    : options(given), pathEntry(entry), productVersion(version), executableName(executable) {}
UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable(UpdatePathEnvironmentVariable const&) =
    default;
UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable(UpdatePathEnvironmentVariable&&) =
    default;
UpdatePathEnvironmentVariable::~UpdatePathEnvironmentVariable() = default;

void UpdatePathEnvironmentVariable::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true)) {
    return;
  }
  UString const current = getPathEntries();
  if (path_rewrite::contains(current, pathEntry)) {
    utility::skipped(pathEntry + u" is in the system path already", pathEntry);
    log_message(pathEntry + u" was not added to the system path since it already exists");
    return;
  }
  log_message(u"Adding " + pathEntry + u" to the system path");
  UString const newPath =
      path_rewrite::withEntry(current, {pathEntry, productVersion, executableName},
                              {[this](Path const& file) { return existsWrapper(file); },
                               [this](Path const& file) { return getFileVersionWrapper(file); }});
  if (newPath.size() >= path_rewrite::lengthLimit) {
    logTrouble(u"Path too long, cannot update path environment value.");
    return;
  }
  updateRegistryAndEnv(newPath);
  updatePathForCurrentSession(newPath);
}

void UpdatePathEnvironmentVariable::undo() const {
  updateRegistryAndEnv(path_rewrite::withoutEntry(getPathEntries(), pathEntry));
}

void UpdatePathEnvironmentVariable::updateRegistryAndEnv(UString const& newPath) const {
  log_message(u"Updating path environment");
  setEnvironmentRegistryKey(newPath);
  log_message(u"Successfully updated path env registry key");
  if (sendMessageAboutEnvironment() < 0) {
    logTrouble(u"Failed to send message about system path environment change with error: " +
               getLastErrorWrapper());
  } else {
    log_message(u"New Path: " + newPath);
  }
}

UString UpdatePathEnvironmentVariable::getPathEntries() const {
  // Any other value would be lost with the first rewriting, its type and what it holds.
  RegistryUtil const& registry = RegistryUtil::getRegistryUtil();
  auto const root = install::postinstall::localMachineKey();
  registry.requireString(root, environmentKey, pathValueName);
  return fl::i18n::to_ustring(registry.getRegKeyValue(root, environmentKey, pathValueName));
}

void UpdatePathEnvironmentVariable::setEnvironmentRegistryKey(UString const& value) const {
  RegistryUtil::getRegistryUtil().setRegKeyValue(install::postinstall::localMachineKey(),
                                                 environmentKey, pathValueName,
                                                 fl::i18n::to_wstring(value));
}

UString UpdatePathEnvironmentVariable::getFileVersionWrapper(Path const& file) const {
  return utility::getFileVersion(file.ustring());
}

bool UpdatePathEnvironmentVariable::existsWrapper(Path const& file) const {
  return fl::filesystem::exists(file);
}

void UpdatePathEnvironmentVariable::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

long UpdatePathEnvironmentVariable::sendMessageAboutEnvironment() const {
  return static_cast<std::int32_t>(install::postinstall::broadcastEnvironmentChange());
}

void UpdatePathEnvironmentVariable::updatePathForCurrentSession(UString const& value) const {
  if (install::postinstall::setProcessVariable(u"Path", value)) {
    log_message(u"Successfully updated path for the current session");
  } else {
    logTrouble(u"Failed to update path for the current session");
  }
}

void UpdatePathEnvironmentVariable::logTrouble(UString const& line) const {
  utility::logTrouble([this](UString const& message) { log_message(message); }, line, u"Path");
}

UString UpdatePathEnvironmentVariable::getLastErrorWrapper() const {
  return install::postinstall::lastErrorText();
}

}  // namespace registration::commands
