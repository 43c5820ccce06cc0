#pragma once

#include "cppmicroservices/Framework.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

class US_Framework_EXPORT FrameworkFactory {
 public:
  /// A framework of its own, not started. It lives as long as something refers to it.
  Framework NewFramework();
};

}  // namespace cppmicroservices
