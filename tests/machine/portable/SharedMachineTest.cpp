#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::simulated {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

RegistryKey const key{RegistryRoot::localMachine, u"SOFTWARE\\Shared"};

/// One folder that several processes open as their machine.
class SharedMachine : public testing::Test {
 protected:
  static pid_t start(std::function<void()> const& body) {
    pid_t const child = ::fork();
    if (child == 0) {
      try {
        body();
      } catch (...) {
        ::_exit(1);
      }
      ::_exit(0);
    }
    return child;
  }
  static bool endsWell(pid_t child) {
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  std::size_t values() const {
    return SimulatedMachine(folder.path()).registry().values(key).size();
  }
  static bool isFree(SimulatedMachine& machine) {
    try {
      machine.lock().acquire(milliseconds(0));
      return true;
    } catch (SystemError const& failure) {
      EXPECT_TRUE(failure.is(ErrorCode::timeout)) << failure.what();
      return false;
    }
  }

  tests::TemporaryFolder const folder;
};

TEST_F(SharedMachine, WhatEachAddsUnderTheLockSurvives) {
  SimulatedMachine(folder.path()).registry().createKey(key);
  std::vector<pid_t> children;
  for (int i = 0; i < 10; ++i) {
    children.push_back(start([&] {
      SimulatedMachine machine(folder.path());
      auto const held = machine.lock().acquire(seconds(60));
      machine.registry().setText(key, toUtf16(std::to_string(i)), u"");
      ::usleep(1000);
    }));
  }
  for (auto const child : children) EXPECT_TRUE(endsWell(child));
  EXPECT_EQ(values(), 10u);
}

TEST_F(SharedMachine, WhoChangesNothingPutsNothingBack) {
  SimulatedMachine(folder.path()).registry().createKey(key);
  {
    SimulatedMachine const reading(folder.path());
    SimulatedMachine(folder.path()).registry().setText(key, u"name", u"text");
  }
  EXPECT_EQ(values(), 1u);
}

TEST_F(SharedMachine, WhatWasChangedBeforeTheLockIsKept) {
  SimulatedMachine machine(folder.path());
  machine.save();
  machine.registry().setText(key, u"name", u"text");
  auto const held = machine.lock().acquire(seconds(0));
  EXPECT_TRUE(machine.registry().value(key, u"name"));
}

TEST_F(SharedMachine, LockOfAKilledProcessIsNone) {
  SimulatedMachine machine(folder.path());
  machine.save();
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  pid_t const child = start([&] {
    SimulatedMachine other(folder.path());
    auto const held = other.lock().acquire(seconds(0));
    EXPECT_EQ(::write(ends[1], "x", 1), 1);
    ::pause();
  });
  char held = 0;
  ASSERT_EQ(::read(ends[0], &held, 1), 1);
  EXPECT_FALSE(isFree(machine));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(isFree(machine));
  for (int const end : ends) ::close(end);
}

TEST_F(SharedMachine, FolderThatCannotBeWrittenHasNoLock) {
  SimulatedMachine machine(folder.path());
  std::filesystem::remove(folder.path() / "lock");
  std::filesystem::create_directory(folder.path() / "lock");
  EXPECT_THROW(machine.lock().acquire(seconds(0)), SystemError);
}

}  // namespace
}  // namespace machine::simulated
