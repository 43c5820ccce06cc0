#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// The environment of this process, and the call that tells others the machine's has changed.
class Environment {
 public:
  virtual ~Environment() = default;

  /// nullopt when the variable is not set. Names are compared without regard to case.
  virtual std::optional<UString> variable(std::u16string_view name) = 0;
  /// Sets a variable of this process. False when the system refuses; lastError() tells why.
  virtual bool setVariable(std::u16string_view name, std::u16string_view value) = 0;
  /// Removes a variable of this process; true also when it was not set.
  virtual bool removeVariable(std::u16string_view name) = 0;
  /// SendMessageTimeoutW to every top-level window: WM_SETTINGCHANGE with the text "Environment",
  /// SMTO_ABORTIFHUNG, 1000 milliseconds. The call's own result.
  virtual std::intptr_t broadcastSettingChange() = 0;
  /// The calling thread's last system error code, as the latest operation of this part left it.
  virtual std::uint32_t lastError() = 0;
  /// Whose account this process runs under: the text form of its security identifier, "S-1-5-...".
  /// Throws SystemError.
  virtual UString account() = 0;
};

}  // namespace machine
