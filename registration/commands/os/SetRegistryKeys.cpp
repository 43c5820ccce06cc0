#include "registration/commands/SetRegistryKeys.hpp"

#include <stdexcept>
#include <string>

#include "install/cpputil/logger.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

using fl::i18n::to_string;
using fl::i18n::to_wstring;

/// The value's full name in messages, which are UTF-8 until they are logged. The root is always
/// written as this one.
std::string nameOf(registryKey const& record) {
  return "HKEY_LOCAL_MACHINE\\" + to_string(record.keyPath) + "\\" + to_string(record.valueName);
}

void log(std::string const& message) {
  install::cpputil::logger::append_message(fl::i18n::to_ustring(message));
}

}  // namespace

SetRegistryKeys::SetRegistryKeys(utility::Options const& given, std::list<registryKey> const& keys,
                                 RegistryUtil const& helper)
    : options(given), registryKeys(keys), registryUtil(helper) {
  if (registryKeys.empty()) {
    throw std::runtime_error(
        "Exception occured while creating the registry keys command : Registry Key Value list "
        "cannot be empty");
  }
}
SetRegistryKeys::SetRegistryKeys(SetRegistryKeys const&) = default;
SetRegistryKeys::SetRegistryKeys(SetRegistryKeys&&) = default;
SetRegistryKeys::~SetRegistryKeys() = default;

void SetRegistryKeys::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true)) {
    return;
  }
  for (registryKey const& record : registryKeys) {
    std::string const assignment = nameOf(record) + " to " + to_string(record.value);
    log("Setting registry key " + assignment);
    registryUtil.setRegKeyValue(record.root, to_wstring(record.keyPath),
                                to_wstring(record.valueName), to_wstring(record.value));
    log("Successfully set registry key " + assignment);
  }
}

void SetRegistryKeys::undo() const {
  for (registryKey const& record : registryKeys) {
    log("Removing registry key " + nameOf(record));
    registryUtil.deleteRegKey(record.root, to_wstring(record.keyPath));
    log("Successfully removed registry key " + nameOf(record));
  }
}

}  // namespace registration::commands
