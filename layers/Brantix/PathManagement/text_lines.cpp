#include "Brantix/PathManagement/text_lines.hpp"

#include "fl/filesystem/operations.hpp"

namespace Brantix::PathManagement {

using fl::filesystem::Path;

TextLines::TextLines(std::string_view text, fl::i18n::UString const& file,
                     foundation::core::except::Notification& notification)
    : lines_(text, {.text = text.size()}), file_(file), notification_(notification) {}

bool TextLines::next() {
  while (lines_.next()) {
    auto const bytes = fl::filesystem::trimmed(lines_.line());
    bool const isComment = bytes.starts_with('#');
    if (isComment || (bytes.empty() && !lines_.is_line_too_long())) {
      continue;
    }
    if (lines_.is_line_too_long()) {
      warn(lines_.why_line_is_too_long());
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

void TextLines::warn(std::string_view reason) {
  if (++warnings_ <= warningsTold) {
    notification_.warn({file_, lines_.number(), fl::i18n::to_ustring(reason)});
  } else if (warnings_ == warningsTold + 1) {
    notification_.warn({file_, lines_.number(), u"wrong as well; further lines are not told"});
  }
}

void TextLines::warnOfForeignServer(Path const& path, Path const& home) {
  auto const warning = fl::filesystem::foreign_server_warning(path, home);
  if (!warning.empty()) warn(fl::i18n::ustring_to_utf8(warning));
}

}  // namespace Brantix::PathManagement
