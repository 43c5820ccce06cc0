#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "foundation/storage/vfs/Exception.hpp"
#include "foundation/storage/vfs/iri_characters.hpp"
#include "machine/path_grammar.hpp"
#include "machine/unicode.hpp"

namespace foundation::storage::vfs {

namespace grammar = machine::path_grammar;

namespace {

[[noreturn]] void refuse(std::u16string_view location, std::string_view reason) {
  throw Exception(ErrorCode::invalidLocation, UString(location), reason);
}

/// The two parts of a file IRI that name something.
struct FileIRI {
  std::u16string_view server;  ///< empty on a drive
  std::u16string_view path;
};

FileIRI partsOf(AbsoluteIRI const& iri) {
  if (!machine::equalIgnoringCase(iri.scheme(), u"file")) {
    refuse(iri.text(), "not a file IRI");
  }
  FileIRI parts{{}, std::u16string_view(iri.text()).substr(iri.scheme().size() + 1)};
  if (parts.path.find(u'?') != UString::npos) {
    refuse(iri.text(), "a file IRI has no query");
  }
  if (parts.path.starts_with(u"//")) {
    auto const end = std::min(parts.path.find(u'/', 2), parts.path.size());
    parts.server = parts.path.substr(2, end - 2);
    parts.path.remove_prefix(end);
  }
  if (parts.server.find_first_of(u"@:") != UString::npos) {
    refuse(iri.text(), "a file IRI has neither user nor port");
  }
  if (machine::equalIgnoringCase(parts.server, u"localhost")) {
    parts.server = {};
  }
  return parts;
}

/// The bytes that a percent-encoded text stands for, UTF-8. REQUIRES: the text of an AbsoluteIRI.
std::string decodedBytes(std::u16string_view encoded) {
  std::string bytes;
  for (auto percent = encoded.find(u'%'); percent != encoded.npos; percent = encoded.find(u'%')) {
    bytes += machine::toUtf8(encoded.substr(0, percent));
    bytes += static_cast<char>(iri::hexadecimalValue(encoded[percent + 1]) * 16 +
                               iri::hexadecimalValue(encoded[percent + 2]));
    encoded.remove_prefix(percent + 3);
  }
  return bytes += machine::toUtf8(encoded);
}

UString decoded(std::u16string_view encoded, std::u16string_view location) {
  if (encoded.find(u'%') == encoded.npos) {
    return UString(encoded);
  }
  std::string const bytes = decodedBytes(encoded);
  UString text = machine::toUtf16(bytes);
  if (machine::toUtf8(text) != bytes) {
    refuse(location, "percent-encoded bytes that are not UTF-8");
  }
  return text;
}

/// A separator that is percent-encoded would divide the path once it is decoded; no name holds it.
UString decodedName(std::u16string_view encoded, std::u16string_view location) {
  UString name = decoded(encoded, location);
  if (name.find_first_of(u"\\/") != UString::npos) {
    refuse(location, "a separator in a name");
  }
  return name;
}

/// The path that the parts spell, with its dots.
UString spelledPath(FileIRI const& parts, std::u16string_view location) {
  UString path;
  if (!parts.server.empty()) {
    path = u"\\\\" + decodedName(parts.server, location);
  }
  bool isFirst = parts.server.empty();
  for (auto const encoded : grammar::components(parts.path)) {
    if (!std::exchange(isFirst, false)) {
      path += u'\\';
    }
    path += decodedName(encoded, location);
  }
  return path;
}

constexpr bool isForbiddenInNames(char16_t unit) {
  switch (unit) {
    case u'<':
    case u'>':
    case u':':
    case u'"':
    case u'/':
    case u'\\':
    case u'|':
    case u'?':
    case u'*':
      return true;
    default:
      return unit < 0x20;
  }
}

bool isWellFormed(std::u16string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    if (iri::nextCodePoint(text, at) == iri::unpairedSurrogate) {
      return false;
    }
  }
  return true;
}

void requireLegalName(std::u16string_view name, std::u16string_view location) {
  if (std::any_of(name.begin(), name.end(), isForbiddenInNames)) {
    refuse(location, "a name with characters that Windows does not allow");
  }
  if (!isWellFormed(name)) {
    refuse(location, "a name that is not Unicode text");
  }
}

char16_t shiftCase(char16_t unit, char16_t from, char16_t to, int distance) {
  return unit >= from && unit <= to ? static_cast<char16_t>(unit + distance) : unit;
}

/// `c:\` -> `C:\`, `\\Srv\Share\` -> `\\srv\Share`.
UString canonicalRoot(std::u16string_view root, std::u16string_view location) {
  if (!root.starts_with(u"\\\\")) {
    return UString{shiftCase(root[0], u'a', u'z', -32), u':', u'\\'};
  }
  auto const names = grammar::components(root.substr(2));
  if (names.size() != 2 || names[0] == u"." || names[0] == u".." || names[1] == u".." ||
      names[1] == u".") {
    refuse(location, "neither on a drive nor on a share");
  }
  requireLegalName(names[0], location);
  requireLegalName(names[1], location);
  UString server(names[0]);
  std::transform(server.begin(), server.end(), server.begin(),
                 [](char16_t unit) { return shiftCase(unit, u'A', u'Z', 32); });
  return u"\\\\" + server + u"\\" + UString(names[1]);
}

/// The one path that Windows makes of all the spellings of an absolute one. `C:` alone is a drive
/// here: there is no current folder to take it from.
UString canonicalPath(UString const& spelled, std::u16string_view location) {
  bool const isBareDrive = spelled.size() == 2 && spelled[1] == u':';
  UString const rooted = isBareDrive ? spelled + u'\\' : spelled;
  UString const path = grammar::absolute(rooted, u"");
  if (!grammar::isAbsolute(rooted) || path.starts_with(u"\\\\.\\") ||
      path.starts_with(u"\\\\?\\")) {
    refuse(location, "neither on a drive nor on a share");
  }
  UString canonical =
      canonicalRoot(std::u16string_view(path).substr(0, grammar::rootLength(path)), location);
  for (auto const name : grammar::components(path)) {
    requireLegalName(name, location);
    if (canonical.back() != u'\\') {
      canonical += u'\\';
    }
    canonical += name;
  }
  return canonical;
}

void appendEncoded(UString& text, char32_t c) {
  constexpr std::u16string_view digits = u"0123456789ABCDEF";
  UString units;
  if (c >= 0x10000) {
    units = {static_cast<char16_t>(0xD7C0 + (c >> 10)),
             static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
  } else {
    units = {static_cast<char16_t>(c)};
  }
  for (char const byte : machine::toUtf8(units)) {
    auto const value = static_cast<unsigned char>(byte);
    text += {u'%', digits[value >> 4], digits[value & 15]};
  }
}

/// REQUIRES: canonicalPath made it.
UString canonicalText(std::u16string_view path) {
  UString text = path.starts_with(u"\\\\") ? u"file:" : u"file:///";
  text.reserve(text.size() + path.size());
  // There "@" would end the name of a user.
  auto const serverEnd = path.starts_with(u"\\\\") ? path.find(u'\\', 2) : 0;
  // There it would be left out, and the share be no drive's path.
  bool const isLocalhost = path.starts_with(u"\\\\localhost\\");
  for (std::size_t at = 0; at < path.size();) {
    auto const start = at;
    char32_t const c = iri::nextCodePoint(path, at);
    if (c == U'\\') {
      text += u'/';
    } else if (iri::isPathCharacter(c) && !iri::changesDirection(c) &&
               !(c == U'@' && start < serverEnd) && !(isLocalhost && start == 2)) {
      text += path.substr(start, at - start);
    } else {
      appendEncoded(text, c);
    }
  }
  return text;
}

/// The reverse of canonicalText.
UString pathOfCanonical(std::u16string_view text) {
  std::u16string_view const onDrive = u"file:///";
  text.remove_prefix(text.starts_with(onDrive) ? onDrive.size() : std::size_t{5});
  UString path(text);
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return decoded(path, path);
}

AbsoluteIRI continued(AbsoluteIRI const& iri, UString const& relative) {
  return relative.empty() ? iri : AbsoluteIRI(iri.text() + u"/" + relative);
}

/// A verbatim path in its plain form; any other as it is.
UString withoutVerbatimPrefix(UString const& path) {
  if (!grammar::isVerbatim(path)) {
    return path;
  }
  constexpr std::u16string_view prefix = u"\\\\?\\";
  constexpr std::u16string_view share = u"\\\\?\\UNC\\";
  bool const isShare = machine::equalIgnoringCase(path.substr(0, share.size()), share);
  UString plain = isShare ? u"\\\\" + path.substr(share.size()) : path.substr(prefix.size());
  // What Windows would read otherwise in the plain form has no plain form.
  UString folder = plain;
  while (folder.size() > grammar::rootLength(folder) && folder.back() == u'\\') {
    folder.pop_back();
  }
  if (grammar::absolute(folder, u"") != folder) {
    refuse(path, "a name that only a verbatim path can hold");
  }
  return plain;
}

}  // namespace

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(AbsoluteIRI const& iri, UString const& relative)
    : CanonicalAbsoluteIRI(Canonical{iri.isKnownToBeCanonical() && relative.empty()
                                         ? iri.text()
                                         : canonicalText(windowsPath(continued(iri, relative)))}) {}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(Canonical canonical)
    : AbsoluteIRI(std::move(canonical)) {}

CanonicalAbsoluteIRI CanonicalAbsoluteIRI::ofWindowsPath(UString const& path) {
  return CanonicalAbsoluteIRI(
      Canonical{canonicalText(canonicalPath(withoutVerbatimPrefix(path), path))});
}

UString windowsPath(AbsoluteIRI const& iri) {
  if (iri.isKnownToBeCanonical()) {
    return pathOfCanonical(iri.text());
  }
  return canonicalPath(spelledPath(partsOf(iri), iri.text()), iri.text());
}

}  // namespace foundation::storage::vfs
