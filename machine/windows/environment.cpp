#include <windows.h>

#include <sddl.h>

#include <array>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

class WindowsEnvironment final : public Environment {
 public:
  std::optional<UString> variable(std::u16string_view name) override {
    if (hasNul(name)) {
      lastError_ = ERROR_ENVVAR_NOT_FOUND;
      return std::nullopt;
    }
    UString const terminated(name);
    UString value = textFrom([&](wchar_t* buffer, DWORD size) {
      // An empty value and a missing variable both answer 0; only this tells them apart.
      SetLastError(ERROR_SUCCESS);
      return GetEnvironmentVariableW(wide(terminated), buffer, size);
    });
    lastError_ = value.empty() ? GetLastError() : ERROR_SUCCESS;
    return lastError_ == ERROR_SUCCESS ? std::optional(std::move(value)) : std::nullopt;
  }

  bool setVariable(std::u16string_view name, std::u16string_view value) override {
    UString const terminated(value);
    return !hasNul(value) ? change(name, wide(terminated)) : refuse();
  }

  bool removeVariable(std::u16string_view name) override {
    return change(name, nullptr) || lastError_ == ERROR_ENVVAR_NOT_FOUND;
  }

  std::intptr_t broadcastSettingChange() override {
    DWORD_PTR ignored = 0;
    SetLastError(ERROR_SUCCESS);
    LRESULT const result = SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0,
                                               reinterpret_cast<LPARAM>(L"Environment"),
                                               SMTO_ABORTIFHUNG, 1000, &ignored);
    lastError_ = GetLastError();
    return result;
  }

  std::uint32_t lastError() override { return lastError_; }

  UString account() override {
    constexpr auto operation = "find the account of";
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
      throw systemError(operation, u"this process");
    }
    UniqueHandle const owner(token);
    // A user's identifier has at most SECURITY_MAX_SID_SIZE bytes.
    alignas(TOKEN_USER) std::array<char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user;
    DWORD size = 0;
    LPWSTR text = nullptr;
    if (!GetTokenInformation(token, TokenUser, user.data(), static_cast<DWORD>(user.size()),
                             &size) ||
        !ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text)) {
      throw systemError(operation, u"this process");
    }
    UniqueLocalText const identifier(text);
    return UString(unitsOf(text));
  }

 private:
  bool change(std::u16string_view name, wchar_t const* value) {
    if (hasNul(name)) {
      return refuse();
    }
    SetLastError(ERROR_SUCCESS);
    bool const changed = SetEnvironmentVariableW(wide(UString(name)), value) != FALSE;
    lastError_ = GetLastError();
    return changed;
  }

  bool refuse() {
    lastError_ = ERROR_INVALID_PARAMETER;
    return false;
  }

  DWORD lastError_ = ERROR_SUCCESS;
};

}  // namespace

std::unique_ptr<Environment> makeEnvironment() {
  return std::make_unique<WindowsEnvironment>();
}

}  // namespace machine::windows
