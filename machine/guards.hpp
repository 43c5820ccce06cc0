#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "machine/api.hpp"

namespace machine {

/// What became of the request for a guard.
enum class GuardState {
  on,
  notOffered,  ///< this system does not have it
  refused
};

/// "on", "not offered by this system", "refused by the system".
REGISTRATION_API std::string_view nameOf(GuardState state);

/// A protection that the system has for processes that ask for it.
struct Guard {
  std::string name;  ///< what it does, in English: "links made by ordinary users are not followed"
  GuardState state = GuardState::notOffered;
  std::string reason{};  ///< of a refusal, UTF-8
};

/// Turns on what the system offers a process that works with an administrator's rights in places
/// where ordinary users may write: links that they made are not followed, no code comes from
/// servers or from what programs of low integrity wrote, and DLLs are looked for in the system's
/// folder, beside the program and in folders that AddDllDirectory named, nowhere else. For the
/// whole process and for good, so it is the program that calls this, first of all, and no library.
/// A product that lies on a server cannot be registered by such a process where that takes code of
/// its own.
///
/// Tells what became of each guard. Nothing on systems other than Windows.
REGISTRATION_API std::vector<Guard> guardProcess();

}  // namespace machine
