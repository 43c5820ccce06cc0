// installation_step STEP: one thing that an installer may do which uses the library without
// regplan.
//
//   hold               holds the machine's lock until its input ends or it is killed
//   add-to-path ENTRY  has the commands for Path and for the class path add to both
//   service-host ROOT  sets up the service host of the installation in ROOT; 1 when anything failed
//   state              prints "path: " and the machine's Path, "service: " and the state of the
//                      service host's service
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/machine_lock.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"
#include "registration/commands/AddJavaPathEntriesToMetadataFile.hpp"
#include "registration/commands/BrantixServiceHostSetupCommand.hpp"
#include "registration/commands/UpdatePathEnvironmentVariable.hpp"

namespace {

int hold() {
  install::cpputil::machine_lock const lock;
  std::cout << "held" << std::endl;
  while (std::getchar() != EOF) {
  }
  return 0;
}

int addToPath(fl::i18n::UString const& entry) {
  registration::utility::Options::Values values;
  values.rootPath = values.metadataRootPath = u"C:\\Program Files\\Vortan\\R1";
  registration::utility::Options const options(values);
  std::vector<std::unique_ptr<registration::utility::Command>> commands;
  commands.push_back(std::make_unique<registration::commands::UpdatePathEnvironmentVariable>(
      options, entry, u"1.0", u"none.exe"));
  commands.push_back(
      std::make_unique<registration::commands::AddJavaPathEntriesToMetadataFile>(options));

  install::cpputil::machine_lock const lock;
  for (auto const& command : commands) command->execute();
  return 0;
}

int setUpServiceHost(fl::i18n::UString const& root) {
  int result = 0;
  namespace trouble = install::cpputil::trouble;
  trouble::scoped_observer const observer([&result](trouble::report const& told) {
    std::cout << fl::i18n::ustring_to_utf8(told.text) << std::endl;
    result = 1;
  });
  registration::utility::Options::Values values;
  values.serviceHostRequested = true;
  values.rootPath = root;
  registration::commands::BrantixServiceHostSetupCommand(registration::utility::Options(values))
      .execute();
  return result;
}

int tellState() {
  auto& machine = machine::current();
  auto const path = machine.registry().value(
      {machine::RegistryRoot::localMachine,
       u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"},
      u"Path");
  auto const state = machine.services().state(u"BrantixServiceHost");
  std::cout << "path: " << (path ? fl::i18n::ustring_to_utf8(path->text()) : "") << "\nservice: "
            << (!state                                     ? "none"
                : *state == machine::ServiceState::running ? "running"
                                                           : "not running")
            << std::endl;
  return 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  std::string const step =
      count > 1 ? fl::i18n::ustring_to_utf8(fl::i18n::to_ustring(arguments[1])) : "";
  if (step == "hold") return hold();
  if (step == "service-host" && count > 2) {
    return setUpServiceHost(fl::i18n::to_ustring(arguments[2]));
  }
  if (step == "add-to-path" && count > 2) return addToPath(fl::i18n::to_ustring(arguments[2]));
  return step == "state" ? tellState() : 2;
}
