#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// What a download may cost at most.
struct DownloadLimits {
  std::uint64_t size = 0;  ///< bytes of the body
  /// Each time that nothing comes: to find the server, to connect, to send, to receive.
  std::chrono::milliseconds idleTimeout{0};
  std::chrono::milliseconds totalTimeout{0};  ///< until the whole body is there
};

/// Files from web servers.
class Downloads {
 public:
  using Sink = std::function<void(std::string_view bytes)>;

  virtual ~Downloads() = default;

  /// Gets what an "http" or "https" URL names and hands its body to `sink`, chunk by chunk; the
  /// status of the answer. Only for status 200 is there a body: of any other answer nothing reaches
  /// the sink. A redirection is followed from https to https only. Credentials and cookies are
  /// never sent, and a server of https must prove who it is.
  ///
  /// Throws SystemError when the server cannot be reached or proves nothing, when the body ends
  /// before it is whole, when it grows beyond limits.size (ErrorCode::fileTooLarge), or when it
  /// takes too long; and whatever the sink throws. The sink may have received part of the body
  /// then.
  virtual std::uint32_t get(std::u16string_view url, DownloadLimits const& limits,
                            Sink const& sink) = 0;
};

}  // namespace machine
