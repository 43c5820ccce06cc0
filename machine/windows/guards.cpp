#include "machine/guards.hpp"

#include "machine/windows/guard_calls.hpp"
#include "machine/windows/system_error.hpp"

namespace machine::windows {
namespace {

/// Older systems lack some of these functions: they are looked up, so that the program starts
/// there.
template <typename Function>
std::function<Function> systemFunction(char const* name) {
  FARPROC const address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
  if (address == nullptr) return {};
  return reinterpret_cast<Function WINAPI*>(reinterpret_cast<void*>(address));
}

GuardCalls systemCalls() {
  return {
      systemFunction<BOOL(PROCESS_MITIGATION_POLICY, void*, SIZE_T)>("SetProcessMitigationPolicy"),
      systemFunction<BOOL(HANDLE, PROCESS_MITIGATION_POLICY, void*, SIZE_T)>(
          "GetProcessMitigationPolicy"),
      systemFunction<BOOL(DWORD)>("SetDefaultDllDirectories"),
      systemFunction<BOOL(wchar_t const*)>("SetDllDirectoryW"),
      systemFunction<BOOL(DWORD)>("SetSearchPathMode"),
      systemFunction<BOOL(HANDLE, HEAP_INFORMATION_CLASS, void*, SIZE_T)>("HeapSetInformation"),
  };
}

Guard failed(std::string name) {
  DWORD const error = GetLastError();
  // How systems answer that know the function but not what is asked of it.
  if (error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED ||
      error == ERROR_CALL_NOT_IMPLEMENTED) {
    return {std::move(name), GuardState::notOffered};
  }
  return {std::move(name), GuardState::refused, systemError("guardProcess", {}, error).what()};
}

template <typename Call, typename... Arguments>
Guard asked(std::string name, Call const& call, Arguments... arguments) {
  if (!call) return {std::move(name), GuardState::notOffered};
  if (!call(arguments...)) return failed(std::move(name));
  return {std::move(name), GuardState::on};
}

/// Every policy is a structure of flags in one DWORD. The flags are read back: Wine accepts what it
/// does not do.
Guard policy(std::string name, GuardCalls const& calls, PROCESS_MITIGATION_POLICY kind,
             DWORD flags) {
  DWORD found = 0;
  Guard guard =
      asked(std::move(name), calls.setProcessMitigationPolicy, kind, &flags, sizeof(flags));
  bool const isSeen =
      guard.state == GuardState::on && calls.getProcessMitigationPolicy &&
      calls.getProcessMitigationPolicy(GetCurrentProcess(), kind, &found, sizeof(found)) &&
      (found & flags) == flags;
  if (guard.state == GuardState::on && !isSeen) guard.state = GuardState::notOffered;
  return guard;
}

DWORD redirectionTrust() {
  PROCESS_MITIGATION_REDIRECTION_TRUST_POLICY flags{};
  flags.EnforceRedirectionTrust = 1;
  return flags.Flags;
}

DWORD trustedImages() {
  PROCESS_MITIGATION_IMAGE_LOAD_POLICY flags{};
  flags.NoRemoteImages = 1;
  flags.NoLowMandatoryLabelImages = 1;
  flags.PreferSystem32Images = 1;
  return flags.Flags;
}

}  // namespace

std::vector<Guard> guardProcess(GuardCalls const& calls) {
  return {
      policy("links made by ordinary users are not followed", calls, ProcessRedirectionTrustPolicy,
             redirectionTrust()),
      policy("no code from servers or of low integrity is loaded, the system's own first", calls,
             ProcessImageLoadPolicy, trustedImages()),
      // The folders of AddDllDirectory: a module that is called by its bare name lies in one.
      asked("DLLs are looked for in the system's folder and beside the program only",
            calls.setDefaultDllDirectories,
            LOAD_LIBRARY_SEARCH_SYSTEM32 | LOAD_LIBRARY_SEARCH_APPLICATION_DIR |
                LOAD_LIBRARY_SEARCH_USER_DIRS),
      asked("DLLs are not looked for in the current folder", calls.setDllDirectory, L""),
      asked("files without a folder are looked for in the current folder last",
            calls.setSearchPathMode,
            BASE_SEARCH_PATH_ENABLE_SAFE_SEARCHMODE | BASE_SEARCH_PATH_PERMANENT),
      asked("a damaged heap ends the program", calls.heapSetInformation, nullptr,
            HeapEnableTerminationOnCorruption, nullptr, SIZE_T{0}),
  };
}

}  // namespace machine::windows

namespace machine {

std::vector<Guard> guardProcess() {
  return windows::guardProcess(windows::systemCalls());
}

}  // namespace machine
