#pragma once

#include <map>
#include <string>

#include "cppmicroservices/Any.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

namespace detail {
struct US_Framework_EXPORT LessIgnoringCase {
  bool operator()(std::string const& a, std::string const& b) const;
};
}  // namespace detail

/// Headers and properties by name, A to Z compared without regard to case.
class AnyMap : public std::map<std::string, Any, detail::LessIgnoringCase> {
 public:
  using map::map;
};

}  // namespace cppmicroservices
