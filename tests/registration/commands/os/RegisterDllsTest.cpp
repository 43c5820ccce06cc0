#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "registration/commands/RegisterDlls.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

/// Every call to the outside replaced.
class FakedDlls : public RegisterDlls {
 public:
  FakedDlls(Path const& system, std::vector<Path> const& files,
            utility::Options const& given = tests::plainOptions())
      : RegisterDlls(given, files), systemDirectory([system] { return system.ustring(); }) {}

  struct Run {
    Path program;
    std::wstring parameters;
    bool operator==(Run const&) const = default;
  };
  std::function<UString()> systemDirectory;
  std::function<bool(std::wstring const&)> result = [](std::wstring const&) { return true; };
  std::vector<Run> mutable runs;
  Lines mutable log;

 protected:
  UString getSystemDirectoryWrapper() const override { return systemDirectory(); }
  bool shellExecuteWrapper(fl::filesystem::basic_path const& program,
                           std::wstring const& parameters) const override {
    runs.push_back({program, parameters});
    return result(parameters);
  }
  void log_message(UString const& message) const override { log.push_back(message); }
};

class RegisterDllsTest : public tests::CommandTest {
 protected:
  RegisterDllsTest() {
    for (Path const& file : {program_, a_, b_}) {
      writeFile(file, "x");
    }
  }
  UString parameters(UString const& switches, Path const& dll) const {
    return switches + u"\"" + dll.ustring() + u"\"";
  }
  FakedDlls::Run run(UString const& switches, Path const& dll) const {
    return {program_, fl::i18n::to_wstring(parameters(switches, dll))};
  }
  UString description(UString const& switches, Path const& dll) const {
    return u"[" + program_.ustring() + u" " + parameters(switches, dll) + u"]";
  }

  Path const system_ = root() / u"System32";
  Path const program_ = system_ / u"regsvr32.exe";
  Path const a_ = root() / u"a folder\\a server.dll";
  Path const b_ = root() / u"\u00e4\u65e5.dll";
  Path const none_ = root() / u"none.dll";
};

TEST_F(RegisterDllsTest, RunsOnceForEachDllInOrderWithItsPathQuoted) {
  FakedDlls const command(system_, {b_, a_});
  command.execute();
  EXPECT_EQ(command.runs, (std::vector<FakedDlls::Run>{run(u"/s ", b_), run(u"/s ", a_)}));
  EXPECT_EQ(command.log, (Lines{u"Running " + description(u"/s ", b_),
                                u"Successfully ran " + description(u"/s ", b_),
                                u"Running " + description(u"/s ", a_),
                                u"Successfully ran " + description(u"/s ", a_)}));
}

TEST_F(RegisterDllsTest, DescriptionIsProgramAndParametersInBrackets) {
  FakedDlls const command(system_, {a_});
  command.execute();
  EXPECT_EQ(command.log.front(), u"Running [" + root().ustring() +
                                     u"\\System32\\regsvr32.exe /s \"" + root().ustring() +
                                     u"\\a folder\\a server.dll\"]");
}

TEST_F(RegisterDllsTest, UndoPutsBothSwitchesFirstAndKeepsItsOwnWord) {
  FakedDlls const command(system_, {a_, b_});
  command.undo();
  EXPECT_EQ(command.runs, (std::vector<FakedDlls::Run>{run(u"/u /s ", a_), run(u"/u /s ", b_)}));
  EXPECT_EQ(command.log, (Lines{u"Running " + description(u"/u /s ", a_),
                                u"Successfull ran " + description(u"/u /s ", a_),
                                u"Running " + description(u"/u /s ", b_),
                                u"Successfull ran " + description(u"/u /s ", b_)}));
}

TEST_F(RegisterDllsTest, MissingProgramIsOneLine) {
  FakedDlls const command(root() / u"none", {a_, b_});
  UString const program = (root() / u"none\\regsvr32.exe").ustring();
  command.execute();
  command.undo();
  EXPECT_TRUE(command.runs.empty());
  EXPECT_EQ(command.log, (Lines{program + u" does not exist while registering Dlls",
                                program + u" does not exist while unregistering Dlls "}));
}

TEST_F(RegisterDllsTest, MissingDllIsLoggedAndTheOthersAreRun) {
  FakedDlls const command(system_, {none_, a_});
  command.execute();
  EXPECT_EQ(command.runs, std::vector<FakedDlls::Run>{run(u"/s ", a_)});
  EXPECT_EQ(command.log.front(), none_.ustring() + u" not registered since it does not exist");
}

TEST_F(RegisterDllsTest, MissingDllOfUndoHasAShorterLine) {
  FakedDlls const command(system_, {none_, a_});
  command.undo();
  EXPECT_EQ(command.runs, std::vector<FakedDlls::Run>{run(u"/u /s ", a_)});
  EXPECT_EQ(command.log.front(), none_.ustring() + u" does not exist");
}

TEST_F(RegisterDllsTest, FailedRunIsLoggedAndTheOthersAreRun) {
  FakedDlls command(system_, {a_, b_});
  command.result = [](std::wstring const& text) { return text.find(L"server") == text.npos; };
  command.execute();
  EXPECT_EQ(command.log, (Lines{u"Running " + description(u"/s ", a_),
                                u"Failed to run " + description(u"/s ", a_),
                                u"Running " + description(u"/s ", b_),
                                u"Successfully ran " + description(u"/s ", b_)}));
  command.log.clear();
  command.undo();
  EXPECT_EQ(command.log[1], u"Failed to run " + description(u"/u /s ", a_));
}

TEST_F(RegisterDllsTest, EmptyListOnlyLooksForTheProgram) {
  FakedDlls const command(system_, {});
  command.execute();
  command.undo();
  EXPECT_TRUE(command.log.empty());
  FakedDlls const missing(root(), {});
  missing.execute();
  EXPECT_EQ(missing.log, Lines{(root() / u"regsvr32.exe").ustring() +
                               u" does not exist while registering Dlls"});
}

TEST_F(RegisterDllsTest, SkippedSystemIntegrationStopsExecuteButNotUndo) {
  FakedDlls const command(system_, {a_}, tests::skippingSystemIntegration());
  command.execute();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.runs.empty());
  command.undo();
  EXPECT_EQ(command.runs, std::vector<FakedDlls::Run>{run(u"/u /s ", a_)});
}

TEST_F(RegisterDllsTest, PathWithAQuoteDoesNotExistAndCannotLeaveTheQuotes) {
  Path const hostile(a_.ustring() + u"\" /i \"" + b_.ustring());
#if !defined(_WIN32)
  // The host of a simulated machine takes such names; the machine does not.
  std::filesystem::create_directories(hostPath(hostile.ustring()));
#endif
  FakedDlls const command(system_, {hostile});
  command.execute();
  command.undo();
  EXPECT_TRUE(command.runs.empty());
  EXPECT_EQ(command.log, (Lines{hostile.ustring() + u" not registered since it does not exist",
                                hostile.ustring() + u" does not exist"}));
}

TEST_F(RegisterDllsTest, ExceptionForOneDllIsItsFailedRunAndTheOthersAreRun) {
  FakedDlls command(system_, {a_, b_});
  command.result = [](std::wstring const& text) {
    return text.find(L"server") == text.npos ? true : throw std::runtime_error("x");
  };
  command.execute();
  EXPECT_EQ(command.log, (Lines{u"Running " + description(u"/s ", a_),
                                u"Failed to run " + description(u"/s ", a_), u"x",
                                u"Running " + description(u"/s ", b_),
                                u"Successfully ran " + description(u"/s ", b_)}));
}

TEST_F(RegisterDllsTest, ExceptionBeforeTheFirstDllIsTheCommandsFailure) {
  FakedDlls command(system_, {a_});
  command.systemDirectory = []() -> UString { throw std::runtime_error("x"); };
  command.execute();
  command.undo();
  EXPECT_EQ(command.log,
            (Lines{u"Unable to register Dlls", u"x", u"Unable to unregister Dlls", u"x"}));
}

TEST_F(RegisterDllsTest, OtherExceptionsPass) {
  FakedDlls command(system_, {a_});
  command.result = [](std::wstring const&) -> bool { throw 42; };
  EXPECT_THROW(command.execute(), int);
  EXPECT_THROW(command.undo(), int);
}

TEST_F(RegisterDllsTest, CopyKeepsItsOwnList) {
  std::vector<Path> files{a_};
  FakedDlls const command(system_, files);
  files.clear();
  FakedDlls const copy(command);
  copy.execute();
  EXPECT_EQ(copy.runs.size(), 1u);
}

TEST_F(RegisterDllsTest, ShellThatRefusesIsAFailedRun) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  Path const real =
      Path(machine().shell().knownFolder(machine::KnownFolder::system)) / u"regsvr32.exe";
#if !defined(_WIN32)
  writeFile(real, "x");
#endif
  faulty.faults().failWhen([](auto operation, auto) { return operation == "shellExecute"; },
                           machine::ErrorCode::accessDenied);
  tests::LogCapture log;
  RegisterDlls(tests::plainOptions(), {a_}).execute();
  UString const described = u"[" + real.ustring() + u" " + parameters(u"/s ", a_) + u"]";
  EXPECT_EQ(log.messages(), (Lines{u"Running " + described, u"Failed to run " + described}));
}

TEST_F(RegisterDllsTest, UnknownSystemDirectoryIsTheCommandsFailure) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1, machine::ErrorCode::accessDenied);
  tests::LogCapture log;
  RegisterDlls(tests::plainOptions(), {a_}).undo();
  ASSERT_EQ(log.messages().size(), 2u);
  EXPECT_EQ(log.messages().front(), u"Unable to unregister Dlls");
}

}  // namespace
}  // namespace registration::commands
