#pragma once

#include <string_view>

#include "machine/api.hpp"
#include "machine/error.hpp"
#include "machine/files.hpp"

namespace machine {

/// Throws UntrustedPath when a link on the way to `path`, or `path` itself, may have been laid by
/// others, as machine/host/reach_folder.hpp says. By names, so it is for machines whose files
/// nobody exchanges meanwhile: those in memory, and those that a folder stands for, where the
/// host's calls ask the open folders once more. `path` is absolute; what does not exist is no link.
void requireOwnWay(Files& files, std::u16string_view path);

/// What `call` returns; an UntrustedPath becomes the operation's SystemError.
template <class Call>
auto refusingUntrusted(std::string_view operation, std::u16string_view subject, Call&& call) {
  try {
    return call();
  } catch (UntrustedPath const& error) {
    throw SystemError(operation, subject,
                      static_cast<std::uint32_t>(ErrorCode::untrustedMountPoint), error.what());
  }
}

}  // namespace machine
