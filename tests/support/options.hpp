#pragma once

#include "registration/utility/Options.hpp"

namespace tests {

/// Options with only what a test is about.
inline registration::utility::Options skippingSystemIntegration() {
  registration::utility::Options::Values values;
  values.systemIntegrationSkipped = true;
  return registration::utility::Options(values);
}

inline registration::utility::Options plainOptions() {
  return registration::utility::Options(registration::utility::Options::Values{});
}

inline registration::utility::Options withRoot(registration::Path const& root) {
  registration::utility::Options::Values values;
  values.rootPath = root.ustring();
  return registration::utility::Options(values);
}

inline registration::utility::Options withMetadataRoot(registration::Path const& root) {
  registration::utility::Options::Values values;
  values.metadataRootPath = root.ustring();
  return registration::utility::Options(values);
}

}  // namespace tests
