#pragma once

#include <string_view>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace foundation::storage::vfs {

using fl::i18n::UString;

/// The name of a resource: an absolute IRI (RFC 3987, section 2.2), a scheme, a colon and what the
/// scheme makes of the rest; no fragment. Only the scheme's and the characters' syntax is checked
/// here; whether the rest names anything is for the provider of the scheme to tell.
///
/// The text is kept as given and compared unit by unit; CanonicalAbsoluteIRI is for comparing what
/// is named.
class REGISTRATION_API AbsoluteIRI {
 public:
  /// Throws Exception, invalidLocation, for a text that is no absolute IRI: characters that an IRI
  /// does not hold as they are, a "%" without two hexadecimal digits, unpaired surrogates.
  explicit AbsoluteIRI(UString text);

  UString const& text() const noexcept { return text_; }
  /// Without the colon, as written: `File:///C:/a` -> `File`.
  std::u16string_view scheme() const;

  /// Came as a CanonicalAbsoluteIRI; another may be in that form too. Spares the work of finding
  /// out.
  bool isKnownToBeCanonical() const noexcept { return isKnownToBeCanonical_; }

  bool operator==(AbsoluteIRI const& other) const { return text_ == other.text_; }

 protected:
  /// An IRI that is in canonical form.
  struct Canonical {
    UString text;
  };
  explicit AbsoluteIRI(Canonical canonical);

 private:
  UString text_;
  bool isKnownToBeCanonical_ = false;
};

}  // namespace foundation::storage::vfs
