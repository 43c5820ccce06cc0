#include "registration/commands/InstallDotNetAssemblyFiles.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "install/postinstall/RegistryUtil.hpp"
#include "install/postinstall/shell_execute.hpp"
#include "registration/commands/os/run_per_file.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

/// Microsoft, "How to determine which .NET Framework versions are installed": the DWORD Install is
/// 1. The registry helper reads a DWORD's bytes as text.
bool isInstalled(wchar_t const* profileKey) {
  using install::postinstall::RegistryUtil;
  return RegistryUtil::getRegistryUtil().getRegKeyValue(install::postinstall::localMachineKey(),
                                                        profileKey, L"Install") == L"\x01";
}

}  // namespace

InstallDotNetAssemblyFiles::InstallDotNetAssemblyFiles(utility::Options const& given,
                                                       std::vector<Path> const& files)
    : options(given), assemblies(files) {}
InstallDotNetAssemblyFiles::InstallDotNetAssemblyFiles(InstallDotNetAssemblyFiles const&) = default;
InstallDotNetAssemblyFiles::~InstallDotNetAssemblyFiles() = default;

void InstallDotNetAssemblyFiles::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true)) {
    return;
  }
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          u"Unable to install .NET Assembly files",
                          [this] { installAssemblies(); });
}

void InstallDotNetAssemblyFiles::undo() const {
  utility::skipped(u"installed assemblies stay in the global assembly cache", {});
}

void InstallDotNetAssemblyFiles::installAssemblies() const {
  auto const log = [this](UString const& message) { log_message(message); };
  if (!isDotNetFrameworkVersionFourInstalled()) {
    utility::logTrouble(
        log, u".NET Framework Version 4 is not installed. Unable to install .NET Assembly files.",
        u".NET Framework Version 4");
    return;
  }
  Path const program = getGACInstallerPath();
  if (!existsWrapper(program)) {
    utility::logTrouble(log, program.ustring() + u" does not exist", program.ustring());
    return;
  }
  runForEach(assemblies, program, {u"", u" does not exist", u"Successfully ran "},
             {[this](Path const& file) { return existsWrapper(file); },
              [this](Path const& file, std::wstring const& parameters) {
                return shellExecuteWrapper(file, parameters);
              },
              log});
}

bool InstallDotNetAssemblyFiles::existsWrapper(fl::filesystem::basic_path const& file) const {
  return fl::filesystem::exists(file);
}

Path InstallDotNetAssemblyFiles::getGACInstallerPath() const {
  return Path(options.getRootPath()).make_native() / u"toolbox\\zembric\\bin" / u"win64" / u"v4.0" /
         u"GACInstaller.exe";
}

bool InstallDotNetAssemblyFiles::isDotNetFrameworkVersionFourInstalled() const {
  return isInstalled(L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Client") ||
         isInstalled(L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full");
}

void InstallDotNetAssemblyFiles::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

bool InstallDotNetAssemblyFiles::shellExecuteWrapper(fl::filesystem::basic_path const& program,
                                                     std::wstring const& parameters) const {
  return install::postinstall::shellExecute(fl::i18n::to_wstring(program.ustring()), parameters);
}

}  // namespace registration::commands
