#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "machine/unicode.hpp"

namespace tests {

/// A web server on this computer's loopback address, in a thread of its own, that answers as told,
/// wrongly too.
class WebServer {
 public:
  /// What a request is answered with, byte by byte.
  struct Answer {
    std::string bytes;
    enum class Then {
      close,    ///< the connection
      keepOpen  ///< without another byte, until the server goes
    } then = Then::close;
    bool endless = false;  ///< the last byte again and again, as long as somebody reads
  };

  WebServer();
  ~WebServer();
  WebServer(WebServer const&) = delete;
  WebServer& operator=(WebServer const&) = delete;

  /// Status 200, the length and the content.
  static Answer whole(std::string_view content);

  /// Sets the answer to a request for "/" and `file`; any other is answered with status 404.
  void answer(std::string const& file, Answer const& answer);
  machine::UString url(std::string_view file) const;
  /// The requests so far: first lines and headers.
  std::vector<std::string> requests() const;

 private:
  struct Host;
  std::unique_ptr<Host> host_;
};

}  // namespace tests
