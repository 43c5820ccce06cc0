#include <windows.h>

#include <aclapi.h>

#include <algorithm>

#include "machine/reentrant_lock.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/security.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view operation = "lock the machine";

void require(bool succeeded, std::u16string_view name) {
  if (!succeeded) {
    throw systemError(operation, name);
  }
}

/// Whose the lock is: its name, and who owns it and, with the system, may do anything with it.
struct Keeper {
  UString name;
  Identifier owner;
};

Keeper keeperOf(UString const& name) {
  if (isAdministrator()) {
    return {name, Identifier(WinBuiltinAdministratorsSid)};
  }
  auto user = Identifier::ofUser();
  return {name + u" " + user.text(), user};
}

/// Anybody can make an object of this name and keep it, and so stop every installation; that cannot
/// be hindered here, but it is not waited for: it is told.
void requireOwner(HANDLE mutex, Keeper const& keeper) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  DWORD const error = GetSecurityInfo(mutex, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner,
                                      nullptr, nullptr, nullptr, &descriptor);
  UniqueDescriptor const holder(descriptor);
  if (error != ERROR_SUCCESS) {
    throw systemError(operation, keeper.name, error);
  }
  if (owner == nullptr || !EqualSid(owner, keeper.owner.get())) {
    throw SystemError(operation, keeper.name, ERROR_INVALID_OWNER,
                      "another user has made an object of this name");
  }
}

UniqueHandle openMutex(Keeper const& keeper) {
  UString const owner = keeper.owner.text();
  UString const access = u"O:" + owner + u"D:P(A;;GA;;;" + owner + u")(A;;GA;;;SY)";
  auto const descriptor = descriptorFrom(access);
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.get(), FALSE};
  UniqueHandle mutex(CreateMutexW(&attributes, FALSE, wide(keeper.name)));
  require(mutex != nullptr, keeper.name);
  requireOwner(mutex.get(), keeper);
  return mutex;
}

class HeldMutex final : public MachineLock::Held {
 public:
  explicit HeldMutex(UniqueHandle mutex) : mutex_(std::move(mutex)) {}
  ~HeldMutex() override { ReleaseMutex(mutex_.get()); }
  HeldMutex(HeldMutex const&) = delete;
  HeldMutex& operator=(HeldMutex const&) = delete;

 private:
  UniqueHandle mutex_;
};

/// A mutex: it is there for as long as somebody has it open, leaves nothing behind, and is free
/// when the thread that held it ends.
class WindowsLock final : public ReentrantLock {
 public:
  explicit WindowsLock(UString name) : name_(std::move(name)) {}

 private:
  std::unique_ptr<Held> take(milliseconds limit) override {
    Keeper const keeper = keeperOf(name_);
    UniqueHandle mutex = openMutex(keeper);
    auto const wait = std::clamp<milliseconds::rep>(limit.count(), 0, INFINITE - 1);
    switch (WaitForSingleObject(mutex.get(), static_cast<DWORD>(wait))) {
      case WAIT_OBJECT_0:
      case WAIT_ABANDONED:  // who held it has ended without letting go
        return std::make_unique<HeldMutex>(std::move(mutex));
      case WAIT_TIMEOUT:
        throw SystemError(operation, keeper.name, ErrorCode::timeout);
      default:
        throw systemError(operation, keeper.name);
    }
  }

  UString name_;
};

}  // namespace

std::unique_ptr<MachineLock> makeMachineLock(std::u16string_view name) {
  return std::make_unique<WindowsLock>(UString(name));
}

}  // namespace machine::windows
