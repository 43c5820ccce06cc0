#pragma once

#include <windows.h>

#include <objbase.h>

#include <memory>
#include <string_view>

/// The Component Object Model for the length of one call.
namespace machine::windows {

struct ReleaseInterface {
  void operator()(IUnknown* object) const noexcept { object->Release(); }
};

template <class Interface>
using UniqueCom = std::unique_ptr<Interface, ReleaseInterface>;

/// Throws the SystemError of a call that failed. A code that an HRESULT only wraps is unwrapped.
void requireSuccess(HRESULT result, std::string_view operation, std::u16string_view subject);

/// COM on this thread while it lives. A thread that already is in an apartment, of whatever kind,
/// stays in it. Throws SystemError.
class ComScope {
 public:
  ComScope();
  ~ComScope();
  ComScope(ComScope const&) = delete;
  ComScope& operator=(ComScope const&) = delete;

 private:
  bool entered_;
};

/// Calls what hands out an interface through a void**.
template <class Interface, class Call>
UniqueCom<Interface> interfaceFrom(std::string_view operation, std::u16string_view subject,
                                   Call call) {
  void* object = nullptr;
  requireSuccess(call(&object), operation, subject);
  return UniqueCom<Interface>(static_cast<Interface*>(object));
}

}  // namespace machine::windows
