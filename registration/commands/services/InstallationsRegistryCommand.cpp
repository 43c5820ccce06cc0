#include "registration/commands/InstallationsRegistryCommand.hpp"

#include "install/cpputil/logger.hpp"
#include "registration/utility/failure_convention.hpp"
#include "vortanconnector/installationsregistry/installations_registry.hpp"

namespace registration::commands {

InstallationsRegistryCommand::InstallationsRegistryCommand(utility::Options const& given)
    : options(given) {}
InstallationsRegistryCommand::InstallationsRegistryCommand(InstallationsRegistryCommand const&) =
    default;
InstallationsRegistryCommand::InstallationsRegistryCommand(InstallationsRegistryCommand&&) =
    default;
InstallationsRegistryCommand::~InstallationsRegistryCommand() = default;

void InstallationsRegistryCommand::execute() const {
  if (utility::skippedBy(u"isServiceHostRequested", options.isServiceHostRequested(), false)) {
    return;
  }
  utility::reportingFailure(
      [this] { addRecord(); },
      [this](UString const& text) {
        logTrouble(u"Failed to add VORTAN record to installation registry: " + text);
      });
}

void InstallationsRegistryCommand::undo() const {
  utility::skipped(u"the record of the installation stays", {});
}

void InstallationsRegistryCommand::addRecord() const {
  log_message(u"Adding VORTAN record to installation registry.");
  UString const registryName = fl::i18n::getenv("BSH_INSTALLATION_REGISTRY_NAME_OVERRIDE");
  Path const root = Path(options.getRootPath()).make_native();
  if (!vortanconnector::installationsregistry::addVortanRecord(root, registryName)) {
    logTrouble(u"Failed to add VORTAN record to installation registry.");
  }
}

void InstallationsRegistryCommand::logTrouble(UString const& line) const {
  utility::logTrouble([this](UString const& message) { log_message(message); }, line,
                      options.getRootPath());
}

void InstallationsRegistryCommand::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
