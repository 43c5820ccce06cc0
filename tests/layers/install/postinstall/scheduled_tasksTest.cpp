#include <gtest/gtest.h>

#include "install/postinstall/scheduled_tasks.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/wine.hpp"

namespace install::postinstall {
namespace {

constexpr int invalidArgument = -2147024809;  // E_INVALIDARG, 0x80070057

class ScheduledTasks : public tests::MachineTest {
 protected:
  ~ScheduledTasks() override { TaskDelete(name); }
  static int create(std::wstring const& taskName, std::wstring const& application) {
    return TaskCreate(taskName, L"What it does", application, L"C:\\Vortan", L"-a \"b c\"");
  }
  std::optional<machine::TaskDefinition> task() {
    return machine().tasks().task(machine::fromWide(name));
  }

  std::wstring const name = L"Registration Layer Test";
  std::wstring const application = L"C:\\Vortan\\\u00e4 \u65e5\\update.exe";
};

TEST_F(ScheduledTasks, CreateReportsSuccessWithZero) {
  EXPECT_EQ(create(name, application), 0);
  EXPECT_NE(TaskExists(name), 0);
  EXPECT_EQ(GetTaskApplicationPath(name), application);
}

TEST_F(ScheduledTasks, TheTextsBecomeDescriptionFolderAndCommandLine) {
  ASSERT_EQ(create(name, application), 0);
  EXPECT_EQ(task()->description, u"What it does");
  EXPECT_EQ(task()->author, u"Brantix");
  EXPECT_TRUE(task()->enabled);
  if (tests::isWine()) GTEST_SKIP() << "Wine keeps no more";
  EXPECT_EQ(task()->workingFolder, u"C:\\Vortan");
  EXPECT_EQ(task()->arguments, u"-a \"b c\"");
  EXPECT_EQ(task()->group, u"S-1-5-32-545");
  EXPECT_TRUE(task()->startsAtLogon);
  EXPECT_TRUE(task()->highestRunLevel);
}

TEST_F(ScheduledTasks, CreatingAnExistingTaskReplacesIt) {
  create(name, L"C:\\old.exe");
  TaskTerminateAndDisable(name);
  EXPECT_EQ(create(L"registration LAYER test", application), 0);
  EXPECT_EQ(GetTaskApplicationPath(name), application);
  EXPECT_TRUE(task()->enabled);
}

TEST_F(ScheduledTasks, TerminatingDisablesAndReportsSuccessWithNonZero) {
  create(name, application);
  EXPECT_NE(TaskTerminateAndDisable(name), 0);
  EXPECT_FALSE(task()->enabled);
  EXPECT_EQ(GetTaskApplicationPath(name), application);
}

TEST_F(ScheduledTasks, DeletingReportsSuccessWithNonZero) {
  create(name, application);
  EXPECT_NE(TaskDelete(name), 0);
  EXPECT_EQ(TaskExists(name), 0);
}

TEST_F(ScheduledTasks, AMissingTaskIsAFailureOfAllButCreate) {
  EXPECT_EQ(TaskExists(name), 0);
  EXPECT_EQ(TaskDelete(name), 0);
  EXPECT_EQ(TaskTerminateAndDisable(name), 0);
  EXPECT_EQ(GetTaskApplicationPath(name), L"");
}

TEST_F(ScheduledTasks, NamesInAnotherCaseAreTheSameTask) {
  create(name, application);
  EXPECT_NE(TaskExists(L"REGISTRATION LAYER TEST"), 0);
  EXPECT_EQ(GetTaskApplicationPath(L"registration layer test"), application);
}

TEST_F(ScheduledTasks, TheNameAsTheSchedulerShowsItIsTheSameTask) {
  std::wstring const shown = L"\\" + name;
  EXPECT_EQ(create(shown, application), 0);
  EXPECT_EQ(GetTaskApplicationPath(name), application);
  EXPECT_NE(TaskExists(shown), 0);
  EXPECT_EQ(GetTaskApplicationPath(shown), application);
  EXPECT_NE(TaskTerminateAndDisable(shown), 0);
  EXPECT_NE(TaskDelete(shown), 0);
  EXPECT_EQ(TaskExists(name), 0);
}

TEST_F(ScheduledTasks, UnsafeNamesAreRefusedAsInvalidArguments) {
  for (std::wstring const unsafe :
       {L"", L"..", L"..\\x", L"a\\..\\x", L"\\\\x", L"x\\", L"\\", L"x\x07", L"C:\\x"}) {
    EXPECT_EQ(create(unsafe, application), invalidArgument);
    EXPECT_EQ(TaskExists(unsafe), 0);
    EXPECT_EQ(TaskDelete(unsafe), 0);
    EXPECT_EQ(TaskTerminateAndDisable(unsafe), 0);
    EXPECT_EQ(GetTaskApplicationPath(unsafe), L"");
  }
  EXPECT_EQ(create(std::wstring(L"a\0b", 3), application), invalidArgument);
}

TEST_F(ScheduledTasks, AnApplicationOrTextThatATaskCannotHaveIsAnInvalidArgument) {
  EXPECT_EQ(create(name, L""), invalidArgument);
  EXPECT_EQ(create(name, L"C:\\a\x01.exe"), invalidArgument);
  EXPECT_EQ(TaskExists(name), 0);
}

TEST_F(ScheduledTasks, AFailureOfTheSchedulerIsACodeAndNeverThrown) {
  create(name, application);
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failWhen([](auto, auto) { return true; }, machine::ErrorCode::accessDenied);
  EXPECT_EQ(create(name, application), -2147024891);  // 0x80070005
  EXPECT_EQ(TaskExists(name), 0);
  EXPECT_EQ(TaskDelete(name), 0);
  EXPECT_EQ(TaskTerminateAndDisable(name), 0);
  EXPECT_EQ(GetTaskApplicationPath(name), L"");
}

TEST_F(ScheduledTasks, TheSchedulersOwnCodesPassAsTheyAre) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  auto const failWith = [&](std::uint32_t code) {
    faulty.faults().failWhen([](auto, auto) { return true; },
                             static_cast<machine::ErrorCode>(code));
  };
  failWith(0x8004131A);  // SCHED_E_MALFORMEDXML
  EXPECT_EQ(create(name, application), static_cast<int>(0x8004131A));
  failWith(0);
  EXPECT_NE(create(name, application), 0) << "a failure is never success";
}

}  // namespace
}  // namespace install::postinstall
