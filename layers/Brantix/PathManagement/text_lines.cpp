#include "Brantix/PathManagement/text_lines.hpp"

#include <algorithm>

#include "fl/filesystem/operations.hpp"

namespace Brantix::PathManagement {

using fl::filesystem::Path;

namespace {

std::string_view trimmed(std::string_view line) {
  constexpr std::string_view blanks = " \t\n\v\f\r";
  auto const first = std::min(line.find_first_not_of(blanks), line.size());
  line.remove_prefix(first);
  return line.substr(0, line.find_last_not_of(blanks) + 1);
}

}  // namespace

TextLines::TextLines(std::string_view text, fl::i18n::UString const& file,
                     foundation::core::except::Notification& notification)
    : rest_(text), file_(file), notification_(notification) {}

bool TextLines::next() {
  while (!rest_.empty()) {
    auto const bytes = trimmed(takeLine());
    if (bytes.empty() || bytes.front() == '#') {
      continue;
    }
    line_ = fl::i18n::utf8_to_ustring(bytes);
    if (fl::i18n::ustring_to_utf8(line_) == bytes) {
      return true;
    }
    warn("not UTF-8");
  }
  return false;
}

std::string_view TextLines::takeLine() {
  auto const end = std::min(rest_.find('\n'), rest_.size());
  auto const line = rest_.substr(0, end);
  rest_.remove_prefix(std::min(end + 1, rest_.size()));
  ++number_;
  return line;
}

void TextLines::warn(std::string_view reason) {
  if (++warnings_ <= warningsTold) {
    notification_.warn({file_, number_, fl::i18n::to_ustring(reason)});
  } else if (warnings_ == warningsTold + 1) {
    notification_.warn({file_, number_, u"wrong as well; further lines are not told"});
  }
}

void TextLines::warnOfForeignServer(Path const& path, Path const& home) {
  auto const warning = fl::filesystem::foreign_server_warning(path, home);
  if (!warning.empty()) warn(fl::i18n::ustring_to_utf8(warning));
}

}  // namespace Brantix::PathManagement
