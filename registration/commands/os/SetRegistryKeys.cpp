#include "registration/commands/SetRegistryKeys.hpp"

#include <stdexcept>
#include <string>

#include "install/cpputil/logger.hpp"

namespace registration::commands {

namespace {

using fl::i18n::to_wstring;
using install::cpputil::logger::append_message;

/// The value's full name in messages. The root is always written as this one.
UString nameOf(registryKey const& record) {
  return u"HKEY_LOCAL_MACHINE\\" + record.keyPath + u"\\" + record.valueName;
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
  if (options.isSystemIntegrationSkipped()) {
    return;
  }
  for (registryKey const& record : registryKeys) {
    UString const assignment = nameOf(record) + u" to " + record.value;
    append_message(u"Setting registry key " + assignment);
    registryUtil.setRegKeyValue(record.root, to_wstring(record.keyPath),
                                to_wstring(record.valueName), to_wstring(record.value));
    append_message(u"Successfully set registry key " + assignment);
  }
}

void SetRegistryKeys::undo() const {
  for (registryKey const& record : registryKeys) {
    append_message(u"Removing registry key " + nameOf(record));
    registryUtil.deleteRegKey(record.root, to_wstring(record.keyPath));
    append_message(u"Successfully removed registry key " + nameOf(record));
  }
}

}  // namespace registration::commands
