#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "machine/error.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class WindowsMachineLock : public ::testing::Test {
 protected:
  /// The system knows threads as holders of a mutex: another one is as good as another process.
  static void onAnotherThread(std::function<void()> const& body) { std::thread(body).join(); }
  std::unique_ptr<MachineLock> makeLock() const { return makeMachineLock(name); }
  /// What acquire() throws on another thread; "" when it throws nothing.
  std::string failureElsewhere(milliseconds limit) const {
    std::string failure;
    onAnotherThread([&] {
      try {
        makeLock()->acquire(limit);
      } catch (SystemError const& error) {
        failure = error.what();
      }
    });
    return failure;
  }
  UniqueHandle plant(wchar_t const* access) const {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(access, SDDL_REVISION_1,
                                                                     &descriptor, nullptr));
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
    UniqueHandle planted(CreateMutexW(&attributes, TRUE, wide(name)));
    LocalFree(descriptor);
    return planted;
  }

  UString const name = u"Global\\registration test " +
                       toUtf16(testing::UnitTest::GetInstance()->current_test_info()->name()) +
                       toUtf16(std::to_string(GetCurrentProcessId()));
};

TEST_F(WindowsMachineLock, KeepsOthersOutUntilItIsLetGo) {
  {
    auto const lock = makeLock();
    auto const held = lock->acquire(seconds(0));
    EXPECT_EQ(failureElsewhere(milliseconds(0)),
              "lock the machine " + toUtf8(name) + ": Timed out (1460)");
    EXPECT_NE(failureElsewhere(milliseconds(50)), "");
  }
  EXPECT_EQ(failureElsewhere(milliseconds(0)), "");
}

TEST_F(WindowsMachineLock, IsHadByWhoWaitsAsSoonAsItIsLetGo) {
  auto const lock = makeLock();
  auto held = lock->acquire(seconds(0));
  std::atomic<bool> isHadElsewhere = false;
  std::thread other([&] {
    auto const hadElsewhere = makeLock()->acquire(seconds(60));
    isHadElsewhere = true;
  });
  Sleep(50);
  EXPECT_FALSE(isHadElsewhere);
  held.reset();
  other.join();
  EXPECT_TRUE(isHadElsewhere);
}

TEST_F(WindowsMachineLock, WhatADeadHolderLeftIsNoLock) {
  auto const kept = makeLock();
  std::shared_ptr<MachineLock::Held> abandoned;
  onAnotherThread([&] { abandoned = kept->acquire(seconds(0)); });
  EXPECT_NE(makeLock()->acquire(seconds(0)), nullptr);
}

TEST_F(WindowsMachineLock, IsForAdministratorsAndTheSystemOnly) {
  auto const lock = makeLock();
  auto const held = lock->acquire(seconds(0));
  UniqueHandle const mutex(OpenMutexW(READ_CONTROL | SYNCHRONIZE, FALSE, wide(name)));
  ASSERT_NE(mutex, nullptr);
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  constexpr SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  ASSERT_EQ(GetSecurityInfo(mutex.get(), SE_KERNEL_OBJECT, parts, nullptr, nullptr, nullptr,
                            nullptr, &descriptor),
            static_cast<DWORD>(ERROR_SUCCESS));
  wchar_t* text = nullptr;
  ASSERT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                                   parts, &text, nullptr));
  // 0x1f0001: MUTEX_ALL_ACCESS, what GENERIC_ALL is for a mutex.
  EXPECT_EQ(toUtf8(unitsOf(text)), "O:BAD:P(A;;0x1f0001;;;BA)(A;;0x1f0001;;;SY)");
  LocalFree(text);
  LocalFree(descriptor);
}

TEST_F(WindowsMachineLock, AnObjectThatAnotherUserPlantedIsRefusedAndNotWaitedFor) {
  auto const planted = plant(L"O:BUD:(A;;GA;;;WD)");
  ASSERT_NE(planted, nullptr);
  auto const start = std::chrono::steady_clock::now();
  EXPECT_EQ(
      failureElsewhere(seconds(60)),
      "lock the machine " + toUtf8(name) + ": another user has made an object of this name (1307)");
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(30));
}

TEST_F(WindowsMachineLock, AnObjectOfAnotherKindUnderItsNameIsAnError) {
  UniqueHandle const event(CreateEventW(nullptr, TRUE, FALSE, wide(name)));
  ASSERT_NE(event, nullptr);
  EXPECT_NE(failureElsewhere(milliseconds(0)), "");
}

TEST_F(WindowsMachineLock, AProgramWithoutAdministratorRightsHasTheUsersOwn) {
  auto const lock = makeLock();
  auto const held = lock->acquire(seconds(0));
  onAnotherThread([&] {
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, &token));
    UniqueHandle const ofProcess(token);
    BYTE administrators[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof administrators;
    ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size));
    SID_AND_ATTRIBUTES without{administrators, 0};
    HANDLE made = nullptr;
    ASSERT_TRUE(CreateRestrictedToken(token, 0, 1, &without, 0, nullptr, 0, nullptr, &made));
    UniqueHandle const restricted(made);
    ASSERT_TRUE(ImpersonateLoggedOnUser(restricted.get()));
    auto const ofUser = makeLock();
    EXPECT_NE(ofUser->acquire(seconds(0)), nullptr) << "the administrators' is held";
    RevertToSelf();
  });
}

}  // namespace
}  // namespace machine::windows
