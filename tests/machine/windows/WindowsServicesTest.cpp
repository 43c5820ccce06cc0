#include <windows.h>

#include <gtest/gtest.h>

#include "machine/command_line.hpp"
#include "machine/windows/windows_machine.hpp"
#include "tests/machine/windows/test_programs.hpp"

namespace machine::windows {
namespace {

using std::chrono::milliseconds;

class WindowsServices : public ::testing::Test {
 protected:
  ~WindowsServices() override {
    try {
      services.stop(name, std::chrono::seconds(20));
    } catch (SystemError const&) {
      // It did not run.
    }
    services.remove(name);
  }

  void set(UString const& file, std::vector<UString> const& arguments) {
    ServiceDefinition definition;
    definition.displayName = name;
    definition.start = ServiceStart::manual;
    definition.commandLine = command_line::join(file, arguments);
    services.set(name, definition);
  }

  /// A name for each test: a service that another one removed may still be ending.
  UString const name =
      toUtf16(testing::UnitTest::GetInstance()->current_test_info()->name()).substr(0, 80);
  UString const program = tests::testProgram(u"service_host.exe");
  WindowsMachine machine;
  Services& services = machine.services();
};

TEST_F(WindowsServices, StartGivesUpOnAServiceThatNeverRuns) {
  set(program, {name, u"slow"});
  try {
    services.start(name, milliseconds(100));
    FAIL() << "started";
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.is(ErrorCode::timeout)) << error.what();
  }
}

TEST_F(WindowsServices, AServiceThatEndsInsteadOfRunningIsAnError) {
  set(program, {name, u"slow"});
  EXPECT_THROW(services.start(name, std::chrono::seconds(20)), SystemError);
  EXPECT_EQ(services.state(name), ServiceState::stopped);
}

TEST_F(WindowsServices, FilesOfAStoppedServiceAreFree) {
  UString const copy = *machine.environment().variable(u"TEMP") + u"\\tiny service copy.exe";
  ASSERT_TRUE(CopyFileW(toWide(program).c_str(), toWide(copy).c_str(), FALSE));
  set(copy, {name});
  services.start(name, std::chrono::seconds(20));
  services.stop(name, std::chrono::seconds(20));
  EXPECT_TRUE(DeleteFileW(toWide(copy).c_str()));
}

}  // namespace
}  // namespace machine::windows
