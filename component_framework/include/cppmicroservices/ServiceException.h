#pragma once

#include <stdexcept>
#include <string>

#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

/// A service that cannot be had or offered.
class US_Framework_EXPORT ServiceException : public std::runtime_error {
 public:
  enum Type {
    UNSPECIFIED = 0,
    UNREGISTERED = 1,
    FACTORY_ERROR = 2,
    FACTORY_EXCEPTION = 3,
    REMOTE = 5,
    FACTORY_RECURSION = 6
  };

  // NOLINTNEXTLINE(google-explicit-constructor): as in CppMicroServices
  ServiceException(std::string const& message, Type const& type = UNSPECIFIED);
  ServiceException(ServiceException const&);
  ServiceException& operator=(ServiceException const&);
  ~ServiceException() override;

  Type GetType() const;

 private:
  Type type_;
};

}  // namespace cppmicroservices
