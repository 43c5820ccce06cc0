#pragma once

#include <cstdint>
#include <memory>

#include "machine/machine.hpp"

namespace machine::overlay {

/// Another machine, and in memory whatever is changed on it: reading goes through to it until
/// something else was written, and nothing ever changes it. For previews: after the same operations
/// it answers as the machine itself would, as far as that can be known without asking the system
/// for rights or running anybody's code.
///
/// Foreign code does not run. A program that is started must exist; it has ended at once with exit
/// code 0 and written nothing. Of a module that is called, see overlay_parts.hpp; downloads are
/// refused (notSupported). The clock is the other machine's. Its lock keeps nobody out: who changes
/// nothing need not wait.
///
/// Memory grows with what was changed, never with what there is.
class REGISTRATION_API OverlayMachine final : public Machine {
 public:
  /// What memory holds.
  struct Footprint {
    std::size_t names = 0;    ///< of files, folders, keys, values, variables, tasks and services
    std::uint64_t bytes = 0;  ///< of the contents of files and values
  };

  /// `inner` must outlive this object and everything it hands out, and not change meanwhile.
  explicit OverlayMachine(Machine& inner);
  ~OverlayMachine() override;
  OverlayMachine(OverlayMachine const&) = delete;
  OverlayMachine& operator=(OverlayMachine const&) = delete;

  Files& files() override;
  Registry& registry() override;
  Environment& environment() override;
  Shell& shell() override;
  Processes& processes() override;
  Modules& modules() override;
  Tasks& tasks() override;
  Services& services() override;
  Downloads& downloads() override;
  Clock& clock() override;
  MachineLock& lock() override;

  Footprint footprint() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace machine::overlay
