#pragma once

#include "machine/shell.hpp"

namespace machine::simulated {

/// The shell of a Windows on drive C with the user "User".
class SimulatedShell final : public Shell {
 public:
  /// desktop          C:\Users\User\Desktop
  /// startMenu        C:\Users\User\AppData\Roaming\Microsoft\Windows\Start Menu\Programs
  /// publicDesktop    C:\Users\Public\Desktop
  /// commonStartMenu  C:\ProgramData\Microsoft\Windows\Start Menu\Programs
  /// programData      C:\ProgramData
  /// system           C:\Windows\System32
  UString knownFolder(KnownFolder folder) override;
};

}  // namespace machine::simulated
