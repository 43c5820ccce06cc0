#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "machine/guards.hpp"

namespace machine::windows {

/// The system's functions that guards are asked for with, under the system's names; an empty one is
/// missing on this system.
struct GuardCalls {
  std::function<BOOL(PROCESS_MITIGATION_POLICY policy, void* flags, SIZE_T size)>
      setProcessMitigationPolicy;
  std::function<BOOL(HANDLE process, PROCESS_MITIGATION_POLICY policy, void* flags, SIZE_T size)>
      getProcessMitigationPolicy;
  std::function<BOOL(DWORD flags)> setDefaultDllDirectories;
  std::function<BOOL(wchar_t const* folder)> setDllDirectory;
  std::function<BOOL(DWORD flags)> setSearchPathMode;
  std::function<BOOL(HANDLE heap, HEAP_INFORMATION_CLASS kind, void* value, SIZE_T size)>
      heapSetInformation;
};

std::vector<Guard> guardProcess(GuardCalls const& calls);

}  // namespace machine::windows
