#include "registration/commands/RegisterAutomationServer.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "install/postinstall/modules.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

/// Another current folder for as long as it lives.
class CurrentFolder {
 public:
  explicit CurrentFolder(Path const& folder)
      : before_(fl::filesystem::get_current_path()),
        isEntered_(fl::filesystem::change_current_path(folder)) {}
  ~CurrentFolder() {
    if (isEntered_) {
      fl::filesystem::change_current_path(before_);
    }
  }
  CurrentFolder(CurrentFolder const&) = delete;
  CurrentFolder& operator=(CurrentFolder const&) = delete;

  bool isEntered() const { return isEntered_; }

 private:
  Path before_;
  bool isEntered_;
};

}  // namespace

struct RegisterAutomationServer::Direction {
  bool (RegisterAutomationServer::*call)(UString const& moduleName) const;
  UString success;
  UString failure;
};

RegisterAutomationServer::RegisterAutomationServer(utility::Options const& given,
                                                   UString const& name, Path const& folder,
                                                   UString const& argument)
    : options(given), moduleName(name), moduleFolder(folder), serverArgument(argument) {}
RegisterAutomationServer::RegisterAutomationServer(RegisterAutomationServer const&) = default;
RegisterAutomationServer::~RegisterAutomationServer() = default;

void RegisterAutomationServer::execute() const {
  if (options.isSystemIntegrationSkipped()) {
    return;
  }
  run({&RegisterAutomationServer::registerOLEServerWrapper, u"Successfully registered ",
       u"Failed to register "});
}

void RegisterAutomationServer::undo() const {
  run({&RegisterAutomationServer::unRegisterOLEServerWrapper, u"Successfully unregistered ",
       u"Failed to unregister "});
}

void RegisterAutomationServer::run(Direction const& direction) const {
  Path const modulePath = moduleFolder / moduleName;
  if (!fl::filesystem::exists(modulePath)) {
    log_message(modulePath.ustring() + u" does not exist");
    return;
  }
  UString const server = moduleName + u" as an automation server";
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          direction.failure + server,
                          [&] {
                            bool const ok = callInModuleFolder(direction);
                            log_message((ok ? direction.success : direction.failure) + server);
                          });
}

bool RegisterAutomationServer::callInModuleFolder(Direction const& direction) const {
  CurrentFolder const folder(moduleFolder);
  return folder.isEntered() && (this->*direction.call)(moduleName);
}

bool RegisterAutomationServer::registerOLEServerWrapper(UString const& module) const {
  return callEntryPoint(module, "RegisterOLEServer2");
}

bool RegisterAutomationServer::unRegisterOLEServerWrapper(UString const& module) const {
  return callEntryPoint(module, "UnRegisterOLEServer2");
}

bool RegisterAutomationServer::callEntryPoint(UString const& module, char const* entryPoint) const {
  using fl::i18n::to_string;
  return install::postinstall::callEntryPoint(
      fl::i18n::to_wstring(module), entryPoint,
      {to_string(moduleFolder.ustring()), to_string(serverArgument), "VORTAN.exe"});
}

void RegisterAutomationServer::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
