#include "Brantix/PathManagement/pathdef_text.hpp"

#include <optional>

#include "Brantix/PathManagement/text_lines.hpp"
#include "foundation/storage/vfs/Exception.hpp"

namespace Brantix::PathManagement {

using fl::i18n::UString;
using foundation::core::except::Notification;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {

constexpr char16_t const* header = u"pathdef 1";
constexpr std::u16string_view rootToken = u"$root";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// What follows the root in a canonical path: empty for the root itself, else it begins with "\";
/// nullopt for what lies elsewhere. Compared with regard to case: another spelling stays as it is.
std::optional<std::u16string_view> belowRoot(std::u16string_view path, std::u16string_view root) {
  if (root.ends_with(u'\\')) {
    root.remove_suffix(1);
  }
  if (!path.starts_with(root)) {
    return std::nullopt;
  }
  auto const rest = path.substr(root.size());
  return rest.empty() || rest.front() == u'\\' ? std::optional(rest) : std::nullopt;
}

UString quoted(std::u16string_view text) {
  UString result = u"\"";
  for (char16_t const unit : text) {
    result.append(unit == u'"' ? 2 : 1, unit);
  }
  return result + u'"';
}

/// Takes the folder out of its quotation marks; tells what is wrong when it cannot.
char const* unquote(std::u16string_view line, UString& text) {
  if (line.front() != u'"') {
    return "no folder in quotation marks";
  }
  text.clear();
  for (std::size_t at = 1; at < line.size(); ++at) {
    if (line[at] == u'"') {
      bool const isDoubled = at + 1 < line.size() && line[at + 1] == u'"';
      if (!isDoubled) {
        return at + 1 == line.size() ? nullptr : "something follows the folder";
      }
      ++at;
    }
    text += line[at];
  }
  return "the quotation mark at the end is missing";
}

/// Throws Exception for what is no absolute path, and for `$root\..`.
CanonicalAbsoluteIRI entryFor(UString const& text, UString const& root) {
  bool const isRelative = text.starts_with(rootToken) &&
                          (text.size() == rootToken.size() || text[rootToken.size()] == u'\\');
  if (!isRelative) {
    return CanonicalAbsoluteIRI::ofWindowsPath(text);
  }
  auto entry = CanonicalAbsoluteIRI::ofWindowsPath(root + text.substr(rootToken.size()));
  if (!belowRoot(windowsPath(entry), root)) {
    using foundation::storage::vfs::ErrorCode;
    throw foundation::storage::vfs::Exception(ErrorCode::invalidLocation, text,
                                              "outside the installation folder");
  }
  return entry;
}

}  // namespace

std::string pathdefText(std::vector<AbsoluteIRI> const& entries, CanonicalAbsoluteIRI const& root) {
  UString const rootPath = windowsPath(root);
  UString text = UString(header) +
                 u"\n# Written by the installer. The folders that are searched, in this order; "
                 u"$root is the installation folder.\n";
  for (auto const& entry : entries) {
    UString const path = windowsPath(entry);
    auto const below = belowRoot(path, rootPath);
    text += quoted(below ? UString(rootToken).append(*below) : path) + u'\n';
  }
  return fl::i18n::ustring_to_utf8(text);
}

std::vector<AbsoluteIRI> entriesOf(std::string_view text, UString const& file,
                                   CanonicalAbsoluteIRI const& root, Notification& notification) {
  if (text.starts_with(byteOrderMark)) {
    text.remove_prefix(byteOrderMark.size());
  }
  UString const rootPath = windowsPath(root);
  std::vector<AbsoluteIRI> entries;
  UString entry;
  TextLines lines(text, file, notification);
  for (bool isFirst = true; lines.next(); isFirst = false) {
    if (isFirst && lines.line() == header) {
      continue;
    }
    if (isFirst) {
      lines.warn("the file does not begin with \"pathdef 1\"");
      if (lines.line().front() != u'"') {
        continue;  // Warned about once.
      }
    }
    if (auto const* reason = unquote(lines.line(), entry)) {
      lines.warn(reason);
      continue;
    }
    try {
      entries.push_back(entryFor(entry, rootPath));
      lines.warnOfForeignServer(entry, rootPath);
    } catch (foundation::storage::vfs::Exception const& failure) {
      lines.warn(failure.what());
    }
  }
  return entries;
}

}  // namespace Brantix::PathManagement
