#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <stdexcept>

#include "registration/commands/InstallDotNetAssemblyFiles.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/restored_value.hpp"

namespace registration::commands {
namespace {

using machine::RegistryValue;
using Lines = std::vector<UString>;

constexpr auto notInstalled =
    u".NET Framework Version 4 is not installed. Unable to install .NET Assembly files.";

/// Every call to the outside replaced.
class FakedAssemblies : public InstallDotNetAssemblyFiles {
 public:
  explicit FakedAssemblies(std::vector<Path> const& files,
                           utility::Options const& given = tests::plainOptions())
      : InstallDotNetAssemblyFiles(given, files) {}

  struct Run {
    Path program;
    std::wstring parameters;
    bool operator==(Run const&) const = default;
  };
  std::set<Path> existing{u"C:\\GAC Installer.exe", u"C:\\a.dll", u"C:\\a b\\\u65e5.dll"};
  std::function<bool()> isFrameworkInstalled = [] { return true; };
  std::function<bool(std::wstring const&)> result = [](std::wstring const&) { return true; };
  std::vector<Run> mutable runs;
  Lines mutable log;

 protected:
  bool existsWrapper(fl::filesystem::basic_path const& file) const override {
    return existing.contains(file);
  }
  Path getGACInstallerPath() const override { return u"C:\\GAC Installer.exe"; }
  bool isDotNetFrameworkVersionFourInstalled() const override { return isFrameworkInstalled(); }
  void log_message(UString const& message) const override { log.push_back(message); }
  bool shellExecuteWrapper(fl::filesystem::basic_path const& program,
                           std::wstring const& parameters) const override {
    runs.push_back({program, parameters});
    return result(parameters);
  }
};

TEST(InstallDotNetAssemblyFiles, RunsOnceForEachAssemblyInOrderWithItsPathQuoted) {
  FakedAssemblies const command({u"C:\\a b\\\u65e5.dll", u"C:\\a.dll"});
  command.execute();
  EXPECT_EQ(command.runs, (std::vector<FakedAssemblies::Run>{
                              {u"C:\\GAC Installer.exe", L"\"C:\\a b\\\u65e5.dll\""},
                              {u"C:\\GAC Installer.exe", L"\"C:\\a.dll\""}}));
  EXPECT_EQ(command.log, (Lines{u"Running [C:\\GAC Installer.exe \"C:\\a b\\\u65e5.dll\"]",
                                u"Successfully ran [C:\\GAC Installer.exe \"C:\\a b\\\u65e5.dll\"]",
                                u"Running [C:\\GAC Installer.exe \"C:\\a.dll\"]",
                                u"Successfully ran [C:\\GAC Installer.exe \"C:\\a.dll\"]"}));
}

TEST(InstallDotNetAssemblyFiles, WithoutTheFrameworkNothingIsRun) {
  FakedAssemblies command({u"C:\\a.dll"});
  command.isFrameworkInstalled = [] { return false; };
  command.existing.clear();
  command.execute();
  EXPECT_TRUE(command.runs.empty());
  EXPECT_EQ(command.log, Lines{notInstalled}) << "and the installer is not looked for";
}

TEST(InstallDotNetAssemblyFiles, MissingInstallerIsOneLine) {
  FakedAssemblies command({u"C:\\a.dll"});
  command.existing.erase(u"C:\\GAC Installer.exe");
  command.execute();
  EXPECT_TRUE(command.runs.empty());
  EXPECT_EQ(command.log, Lines{u"C:\\GAC Installer.exe does not exist"});
}

TEST(InstallDotNetAssemblyFiles, MissingAssemblyIsLoggedAndTheOthersAreRun) {
  FakedAssemblies const command({u"C:\\none.dll", u"C:\\a.dll"});
  command.execute();
  EXPECT_EQ(command.runs.size(), 1u);
  EXPECT_EQ(command.log.front(), u"C:\\none.dll does not exist");
}

TEST(InstallDotNetAssemblyFiles, FailedRunIsLoggedAndTheOthersAreRun) {
  FakedAssemblies command({u"C:\\a.dll", u"C:\\a b\\\u65e5.dll"});
  command.result = [](std::wstring const& text) { return text != L"\"C:\\a.dll\""; };
  command.execute();
  EXPECT_EQ(command.runs.size(), 2u);
  EXPECT_EQ(command.log[1], u"Failed to run [C:\\GAC Installer.exe \"C:\\a.dll\"]");
}

TEST(InstallDotNetAssemblyFiles, EmptyListOnlyLooksForTheInstaller) {
  FakedAssemblies command({});
  command.execute();
  EXPECT_TRUE(command.log.empty());
  command.existing.clear();
  command.execute();
  EXPECT_EQ(command.log, Lines{u"C:\\GAC Installer.exe does not exist"});
}

TEST(InstallDotNetAssemblyFiles, UndoDoesNothing) {
  FakedAssemblies const command({u"C:\\a.dll"});
  command.undo();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.runs.empty());
}

TEST(InstallDotNetAssemblyFiles, SkippedSystemIntegrationDoesNothingAtAll) {
  FakedAssemblies const command({u"C:\\a.dll"}, tests::skippingSystemIntegration());
  command.execute();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.runs.empty());
}

TEST(InstallDotNetAssemblyFiles, ExceptionForOneAssemblyIsItsFailedRunAndTheOthersAreRun) {
  FakedAssemblies command({u"C:\\a.dll", u"C:\\a b\\\u65e5.dll"});
  command.result = [](std::wstring const& text) {
    return text != L"\"C:\\a.dll\"" ? true : throw std::runtime_error("x");
  };
  command.execute();
  EXPECT_EQ(command.runs.size(), 2u);
  EXPECT_EQ(command.log[1], u"Failed to run [C:\\GAC Installer.exe \"C:\\a.dll\"]");
  EXPECT_EQ(command.log[2], u"x");
}

TEST(InstallDotNetAssemblyFiles, ExceptionBeforeTheFirstAssemblyIsTheCommandsFailure) {
  FakedAssemblies command({u"C:\\a.dll"});
  command.isFrameworkInstalled = []() -> bool { throw std::runtime_error("x"); };
  command.execute();
  EXPECT_EQ(command.log, (Lines{u"Unable to install .NET Assembly files", u"x"}));
}

TEST(InstallDotNetAssemblyFiles, OtherExceptionsPass) {
  FakedAssemblies command({u"C:\\a.dll"});
  command.result = [](std::wstring const&) -> bool { throw 42; };
  EXPECT_THROW(command.execute(), int);
}

TEST(InstallDotNetAssemblyFiles, CopyKeepsItsOwnList) {
  std::vector<Path> files{u"C:\\a.dll"};
  FakedAssemblies const command(files);
  files.clear();
  FakedAssemblies const copy(command);
  copy.execute();
  EXPECT_EQ(copy.runs.size(), 1u);
}

/// Opens what a derived class may call.
class OpenAssemblies : public InstallDotNetAssemblyFiles {
 public:
  using InstallDotNetAssemblyFiles::existsWrapper;
  using InstallDotNetAssemblyFiles::getGACInstallerPath;
  using InstallDotNetAssemblyFiles::InstallDotNetAssemblyFiles;
  using InstallDotNetAssemblyFiles::isDotNetFrameworkVersionFourInstalled;
};

TEST(InstallDotNetAssemblyFiles, TheInstallerLiesBelowTheRootInNativeForm) {
  EXPECT_EQ(OpenAssemblies(tests::withRoot(u"C:/Program Files/Vortan/R1/"), {})
                .getGACInstallerPath()
                .ustring(),
            u"C:\\Program Files\\Vortan\\R1\\toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe");
}

class InstallDotNetAssemblyFilesOnMachine : public tests::CommandTest {
 protected:
  static machine::RegistryKey profile(UString const& name) {
    return {machine::RegistryRoot::localMachine,
            u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\" + name};
  }
  InstallDotNetAssemblyFilesOnMachine() {
    client_.remove();
    full_.remove();
  }
  bool isFrameworkInstalled() const {
    return OpenAssemblies(tests::plainOptions(), {}).isDotNetFrameworkVersionFourInstalled();
  }

  tests::RestoredValue client_{registry(), profile(u"Client"), u"Install"};
  tests::RestoredValue full_{registry(), profile(u"Full"), u"Install"};
};

TEST_F(InstallDotNetAssemblyFilesOnMachine, NeitherProfileIsNotInstalled) {
  EXPECT_FALSE(isFrameworkInstalled());
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, ClientProfileAloneIsInstalled) {
  client_.set(RegistryValue::ofDword(1));
  EXPECT_TRUE(isFrameworkInstalled());
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, FullProfileAloneIsInstalled) {
  full_.set(RegistryValue::ofDword(1));
  EXPECT_TRUE(isFrameworkInstalled());
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, FullProfileCountsWhenTheClientsValueIsAnother) {
  client_.set(RegistryValue::ofDword(0));
  full_.set(RegistryValue::ofDword(1));
  EXPECT_TRUE(isFrameworkInstalled());
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, OtherValuesThanTheNumberOneAreNotInstalled) {
  for (auto const& value :
       {RegistryValue::ofDword(0), RegistryValue::ofDword(2), RegistryValue::ofDword(0x10001),
        RegistryValue::ofText(u"1"), RegistryValue::ofText(u"")}) {
    client_.set(value);
    full_.set(value);
    EXPECT_FALSE(isFrameworkInstalled());
  }
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, WithoutTheFrameworkTheLogSaysSo) {
  tests::LogCapture log;
  InstallDotNetAssemblyFiles(tests::withRoot(root()), {}).execute();
  EXPECT_EQ(log.messages(), Lines{notInstalled});
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, UnreadableRegistryIsTheCommandsFailure) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1, machine::ErrorCode::accessDenied);
  tests::LogCapture log;
  InstallDotNetAssemblyFiles(tests::withRoot(root()), {}).execute();
  ASSERT_EQ(log.messages().size(), 2u);
  EXPECT_EQ(log.messages().front(), u"Unable to install .NET Assembly files");
}

TEST_F(InstallDotNetAssemblyFilesOnMachine, ShellThatRefusesIsAFailedRun) {
  client_.set(RegistryValue::ofDword(1));
  Path const program = root() / u"toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe";
  Path const assembly = root() / u"an assembly.dll";
  writeFile(program, "x");
  writeFile(assembly, "x");
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failWhen([](auto operation, auto) { return operation == "shellExecute"; },
                           machine::ErrorCode::accessDenied);
  tests::LogCapture log;
  InstallDotNetAssemblyFiles(tests::withRoot(root()), {assembly}).execute();
  UString const described = u"[" + program.ustring() + u" \"" + assembly.ustring() + u"\"]";
  EXPECT_EQ(log.messages(), (Lines{u"Running " + described, u"Failed to run " + described}));
}

}  // namespace
}  // namespace registration::commands
