#pragma once

#include <cstddef>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace foundation::core::except {

using fl::i18n::UString;

/// Something that is not as it should be and stopped nothing.
struct Warning {
  UString location;      ///< the file or folder, for people
  std::size_t line = 0;  ///< counted from 1; 0 when it is not about a line
  UString reason;

  /// `C:\a\b.txt, line 3: reason`.
  REGISTRATION_API UString text() const;
  bool operator==(Warning const&) const = default;
};

/// Collects warnings while work goes on.
class REGISTRATION_API Notification {
 public:
  void warn(Warning warning);
  /// In the order in which they came.
  std::vector<Warning> const& warnings() const noexcept { return warnings_; }

 private:
  std::vector<Warning> warnings_;
};

}  // namespace foundation::core::except
