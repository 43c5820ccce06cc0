#include <windows.h>

#include <gtest/gtest.h>
#include <objbase.h>

#include <thread>

#include "machine/machine.hpp"
#include "tests/support/wine.hpp"

namespace {

using machine::TaskDefinition;

class WindowsTasks : public testing::Test {
 protected:
  ~WindowsTasks() override { tasks().remove(name); }
  static machine::Tasks& tasks() { return machine::current().tasks(); }
  static TaskDefinition definition() {
    TaskDefinition task;
    task.application = u"C:\\windows\\system32\\cmd.exe";
    return task;
  }
  /// Everything once, on a thread whose apartment is the caller's choice.
  void useThem() {
    tasks().createOrReplace(name, definition());
    EXPECT_TRUE(tasks().stopAndDisable(name));
    EXPECT_FALSE(tasks().task(name)->enabled);
    EXPECT_TRUE(tasks().remove(name));
  }

  machine::UString const name = u"Registration Windows Test";
};

TEST_F(WindowsTasks, WorkInEitherKindOfApartmentAndLeaveIt) {
  for (DWORD const kind : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
    std::thread([&] {
      ASSERT_EQ(CoInitializeEx(nullptr, kind), S_OK);
      useThem();
      EXPECT_EQ(CoInitializeEx(nullptr, kind), S_FALSE) << "still in the apartment";
      CoUninitialize();
      CoUninitialize();
    }).join();
  }
}

TEST_F(WindowsTasks, LeaveNoApartmentBehind) {
  std::thread([&] {
    useThem();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
  }).join();
}

TEST_F(WindowsTasks, FoldersAreMadeAtEveryDepth) {
  machine::UString const deep = u"Registration Windows Test Folder\\one\\two\\Task";
  tasks().createOrReplace(deep, definition());
  EXPECT_TRUE(tasks().task(deep));
  EXPECT_TRUE(tasks().remove(deep));
}

TEST_F(WindowsTasks, TheWholeDefinitionIsReadBack) {
  if (tests::isWine()) GTEST_SKIP() << "Wine keeps no actions, triggers and principals";
  auto task = definition();
  task.arguments = u"/c exit";
  task.workingFolder = u"C:\\windows";
  tasks().createOrReplace(name, task);
  EXPECT_EQ(tasks().task(name), task);
}

}  // namespace
