#include "foundation/core/except/Notification.hpp"

#include <string>
#include <utility>

namespace foundation::core::except {

UString Warning::text() const {
  UString const place =
      line == 0 ? location : location + u", line " + fl::i18n::to_ustring(std::to_string(line));
  return place + u": " + reason;
}

void Notification::warn(Warning warning) {
  warnings_.push_back(std::move(warning));
}

}  // namespace foundation::core::except
