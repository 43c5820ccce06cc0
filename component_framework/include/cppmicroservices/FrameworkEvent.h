#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

/// Why waiting for a framework ended.
class US_Framework_EXPORT FrameworkEvent {
 public:
  enum Type : std::uint32_t {
    FRAMEWORK_STARTED = 0x001,
    FRAMEWORK_ERROR = 0x002,
    FRAMEWORK_WARNING = 0x010,
    FRAMEWORK_INFO = 0x020,
    FRAMEWORK_STOPPED = 0x040,
    FRAMEWORK_STOPPED_UPDATE = 0x080,
    FRAMEWORK_WAIT_TIMEDOUT = 0x200
  };

  FrameworkEvent(Type type, Bundle const& bundle, std::string const& message,
                 std::exception_ptr const& exception = nullptr);

  explicit operator bool() const { return true; }
  Type GetType() const { return type_; }
  Bundle GetBundle() const { return bundle_; }
  std::string GetMessage() const { return message_; }
  std::exception_ptr GetThrowable() const { return exception_; }

 private:
  Type type_;
  Bundle bundle_;
  std::string message_;
  std::exception_ptr exception_;
};

}  // namespace cppmicroservices
