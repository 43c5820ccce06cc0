#include "registration/commands/RegisterAutomationServer.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "install/postinstall/modules.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

/// Another current folder for as long as it lives; an empty one is the one that is current already.
class CurrentFolder {
 public:
  explicit CurrentFolder(Path const& folder)
      : before_(fl::filesystem::get_current_path()),
        isEntered_(folder.empty() || fl::filesystem::change_current_path(folder)) {}
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
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true)) {
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
  auto const log = [this](UString const& message) { log_message(message); };
  Path const modulePath = moduleFolder / moduleName;
  if (!fl::filesystem::exists(modulePath)) {
    utility::logTrouble(log, modulePath.ustring() + u" does not exist", modulePath.ustring());
    return;
  }
  UString const server = moduleName + u" as an automation server";
  install::cpputil::trouble::warn_of_relative_code(modulePath.ustring());
  utility::loggingFailure(log, direction.failure + server, [&] {
    CurrentFolder const folder(moduleFolder);
    if (folder.isEntered() && (this->*direction.call)(moduleName)) {
      log_message(direction.success + server);
    } else {
      utility::logTrouble(log, direction.failure + server, modulePath.ustring());
    }
  });
}

bool RegisterAutomationServer::registerOLEServerWrapper(UString const& module) const {
  return callEntryPoint(module, "RegisterOLEServer2");
}

bool RegisterAutomationServer::unRegisterOLEServerWrapper(UString const& module) const {
  return callEntryPoint(module, "UnRegisterOLEServer2");
}

bool RegisterAutomationServer::callEntryPoint(UString const& module, char const* entryPoint) const {
  using fl::filesystem::get_current_path;
  using fl::i18n::to_string;
  // A relative folder was entered, and begins at another one by now.
  Path const folder = fl::filesystem::is_absolute(moduleFolder) ? moduleFolder : get_current_path();
  return install::postinstall::callEntryPoint(
      fl::i18n::to_wstring(module), folder / module, entryPoint,
      {to_string(moduleFolder.ustring()), to_string(serverArgument), "VORTAN.exe"});
}

void RegisterAutomationServer::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
