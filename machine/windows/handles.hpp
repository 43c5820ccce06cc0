#pragma once

#include <windows.h>

#include <objbase.h>

#include <memory>

/// What the system hands out, owned: each type releases with the call that its name's section of
/// the system's documentation asks for. An empty owner is nullptr.
namespace machine::windows {

template <auto release>
struct ReleaseWith {
  template <class Handle>
  void operator()(Handle* handle) const noexcept {
    release(handle);
  }
};

using UniqueHandle = std::unique_ptr<void, ReleaseWith<CloseHandle>>;
using UniqueFind = std::unique_ptr<void, ReleaseWith<FindClose>>;
using UniqueModule = std::unique_ptr<HINSTANCE__, ReleaseWith<FreeLibrary>>;
using UniqueKey = std::unique_ptr<HKEY__, ReleaseWith<RegCloseKey>>;
using UniqueLocalText = std::unique_ptr<wchar_t, ReleaseWith<LocalFree>>;
using UniqueTaskText = std::unique_ptr<wchar_t, ReleaseWith<CoTaskMemFree>>;
using UniqueAttributes =
    std::unique_ptr<_PROC_THREAD_ATTRIBUTE_LIST, ReleaseWith<DeleteProcThreadAttributeList>>;

/// The file calls answer INVALID_HANDLE_VALUE where the others answer NULL.
inline HANDLE orNull(HANDLE handle) {
  return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

}  // namespace machine::windows
