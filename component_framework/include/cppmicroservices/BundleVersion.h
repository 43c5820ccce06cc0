#pragma once

#include <ostream>
#include <string>

#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

/// major.minor.micro.qualifier; missing numbers are 0.
class US_Framework_EXPORT BundleVersion {
 public:
  BundleVersion(unsigned major, unsigned minor, unsigned micro, std::string qualifier = {});
  /// Throws std::invalid_argument for a text that is no version.
  BundleVersion(std::string const& text);  // NOLINT: so in the framework's interface
  /// A literal makes no version, and a version stays what it is: so in the framework's interface.
  explicit BundleVersion(char const* text) = delete;
  BundleVersion(BundleVersion const&) = default;
  BundleVersion& operator=(BundleVersion const&) = delete;
  static BundleVersion EmptyVersion();
  static BundleVersion ParseVersion(std::string const& text);

  unsigned GetMajor() const;
  unsigned GetMinor() const;
  unsigned GetMicro() const;
  std::string GetQualifier() const;
  std::string ToString() const;

  bool operator==(BundleVersion const& other) const;
  /// Negative, 0 or positive, as this is lower, equal or higher.
  int Compare(BundleVersion const& other) const;

 private:
  unsigned major_ = 0;
  unsigned minor_ = 0;
  unsigned micro_ = 0;
  std::string qualifier_;
};

US_Framework_EXPORT std::ostream& operator<<(std::ostream& out, BundleVersion const& version);

}  // namespace cppmicroservices
