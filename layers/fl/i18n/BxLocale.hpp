#pragma once

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace fl::i18n {

/// A language with its region, by the name that Windows gives it: `de-DE`.
class REGISTRATION_API BxLocale {
 public:
  explicit BxLocale(UString name);

  UString const& name() const noexcept { return name_; }
  /// Small letters: `de-DE` -> `de`, `DE_at` -> `de`.
  UString language() const;

  bool operator==(BxLocale const&) const = default;

  /// The locale of who uses the current machine: the first language that they have chosen for
  /// Windows, else that of their formats, else `en-US`. Asked for each time. Never fails.
  static BxLocale global();

 private:
  UString name_;
};

}  // namespace fl::i18n
