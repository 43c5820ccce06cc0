#pragma once

#include <cstddef>
#include <string_view>

#include "fl/filesystem/line_reader.hpp"
#include "fl/filesystem/path.hpp"
#include "foundation/core/except/Notification.hpp"

namespace Brantix::PathManagement {

/// Reads UTF-8 text line by line, each without what the classic locale calls space or blank at both
/// ends. Lines that turn out wrong or longer than fl::filesystem::line_limits has it are warnings;
/// of many wrong ones only the first are told. How long the text may be is for its reader to limit.
class TextLines {
 public:
  /// `file`: where the text was read. All must outlive this object.
  TextLines(std::string_view text, fl::i18n::UString const& file,
            foundation::core::except::Notification& notification);

  /// Moves to the next line that is neither empty nor a comment ("#") and holds UTF-8; false at the
  /// end.
  bool next();
  fl::i18n::UString const& line() const { return line_; }
  /// Warns about the current line. `reason` is UTF-8.
  void warn(std::string_view reason);
  /// Warns when the current line's folder, `path`, lies on another server than `home`.
  void warnOfForeignServer(fl::filesystem::Path const& path, fl::filesystem::Path const& home);

  static constexpr std::size_t warningsTold = 1000;

 private:
  fl::filesystem::line_reader lines_;
  fl::i18n::UString const& file_;
  foundation::core::except::Notification& notification_;
  fl::i18n::UString line_;
  std::size_t warnings_ = 0;
};

}  // namespace Brantix::PathManagement
