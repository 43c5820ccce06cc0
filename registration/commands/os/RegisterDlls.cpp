#include "registration/commands/RegisterDlls.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "install/postinstall/shell_execute.hpp"
#include "install/postinstall/system_directory.hpp"
#include "registration/commands/os/run_per_file.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

struct RegisterDlls::Direction {
  FileRun run;
  UString missingProgram;
  UString failure;
};

RegisterDlls::RegisterDlls(utility::Options const& given, std::vector<Path> const& files)
    : options(given), dlls(files) {}
RegisterDlls::RegisterDlls(RegisterDlls const&) = default;
RegisterDlls::~RegisterDlls() = default;

void RegisterDlls::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true)) {
    return;
  }
  run({{u"/s ", u" not registered since it does not exist", u"Successfully ran "},
       u" does not exist while registering Dlls",
       u"Unable to register Dlls"});
}

void RegisterDlls::undo() const {
  // Installer logs are searched for these texts: the misspelling and the trailing blank stay.
  run({{u"/u /s ", u" does not exist", u"Successfull ran "},
       u" does not exist while unregistering Dlls ",
       u"Unable to unregister Dlls"});
}

void RegisterDlls::run(Direction const& direction) const {
  auto const log = [this](UString const& message) { log_message(message); };
  utility::loggingFailure(log, direction.failure, [&] {
    Path const program = Path(getSystemDirectoryWrapper()) / u"regsvr32.exe";
    if (!fl::filesystem::exists(program)) {
      utility::logTrouble(log, program.ustring() + direction.missingProgram, program.ustring());
      return;
    }
    runForEach(dlls, program, direction.run,
               {[](Path const& file) { return fl::filesystem::exists(file); },
                [this](Path const& file, std::wstring const& parameters) {
                  return shellExecuteWrapper(file, parameters);
                },
                log});
  });
}

UString RegisterDlls::getSystemDirectoryWrapper() const {
  return install::postinstall::systemDirectory();
}

bool RegisterDlls::shellExecuteWrapper(fl::filesystem::basic_path const& program,
                                       std::wstring const& parameters) const {
  return install::postinstall::shellExecute(fl::i18n::to_wstring(program.ustring()), parameters);
}

void RegisterDlls::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
