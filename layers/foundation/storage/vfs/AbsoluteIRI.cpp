#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <algorithm>
#include <utility>

#include "foundation/storage/vfs/Exception.hpp"
#include "foundation/storage/vfs/iri_characters.hpp"

namespace foundation::storage::vfs {

namespace {

bool isScheme(std::u16string_view text) {
  return !text.empty() && iri::isAlpha(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char16_t c) {
           return iri::isAlpha(c) || iri::isDigit(c) || iri::isAsciiOf(U"+-.", c);
         });
}

bool startsWithEncodedByte(std::u16string_view text) {
  return text.size() >= 3 && text[0] == u'%' && iri::hexadecimalValue(text[1]) >= 0 &&
         iri::hexadecimalValue(text[2]) >= 0;
}

/// What follows the scheme, without a fragment.
bool isRest(std::u16string_view text) {
  bool inQuery = false;
  for (std::size_t at = 0; at < text.size();) {
    if (startsWithEncodedByte(text.substr(at))) {
      at += 3;
      continue;
    }
    char32_t const c = iri::nextCodePoint(text, at);
    inQuery = inQuery || c == U'?';
    if (!iri::isPathCharacter(c) && !iri::isAsciiOf(U"/?[]", c) &&
        !(inQuery && iri::isIprivate(c))) {
      return false;
    }
  }
  return true;
}

}  // namespace

AbsoluteIRI::AbsoluteIRI(UString text) : text_(std::move(text)) {
  bool const hasScheme = text_.find(u':') != UString::npos;
  if (!hasScheme || !isScheme(scheme()) ||
      !isRest(std::u16string_view(text_).substr(scheme().size() + 1))) {
    throw Exception(ErrorCode::invalidLocation, text_, "not an absolute IRI");
  }
}

AbsoluteIRI::AbsoluteIRI(Canonical canonical)
    : text_(std::move(canonical.text)), isKnownToBeCanonical_(true) {}

std::u16string_view AbsoluteIRI::scheme() const {
  return std::u16string_view(text_).substr(0, text_.find(u':'));
}

}  // namespace foundation::storage::vfs
