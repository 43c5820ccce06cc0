#pragma once

#include <cstdint>
#include <string>

namespace machine::journal {

/// Where and why a journal cannot be read on. A torn last line is what a process leaves that is
/// stopped while it writes.
struct Damage {
  std::uint64_t byte = 0;    ///< where the first line begins that is not whole
  std::uint64_t record = 0;  ///< its number, the first one's 0
  std::string reason;

  bool operator==(Damage const&) const = default;
};

}  // namespace machine::journal
