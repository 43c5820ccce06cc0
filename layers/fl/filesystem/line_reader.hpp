#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

namespace fl::filesystem {

/// Without what the classic locale calls space or blank, at both ends.
REGISTRATION_API std::string_view trimmed(std::string_view text);

/// What a text that is read line by line may have at most, in bytes.
struct line_limits {
  /// Of one line, without its line feed. A path of 32,767 UTF-16 units, the most that the system
  /// takes, has at most 98,301 bytes in UTF-8.
  std::size_t line = std::size_t{128} << 10;
  /// Of the whole text: some 200,000 paths.
  std::uint64_t text = std::uint64_t{16} << 20;
};

/// The one reader of lists in text files, an entry a line: within limits, with memory for one line,
/// and in a time that grows with the text's length and no faster.
class REGISTRATION_API line_reader {
 public:
  /// Fills the buffer with the next bytes and returns how many there are; 0 at the end. What it
  /// throws passes through next().
  using Source = std::function<std::size_t(std::span<char>)>;

  explicit line_reader(Source source, line_limits limits = {});
  /// Of a file of the current machine. Throws SystemError when it cannot be opened.
  explicit line_reader(Path const& file, line_limits limits = {});
  /// Of a text in memory, which must outlive this object.
  explicit line_reader(std::string_view text, line_limits limits = {});
  line_reader(line_reader const&) = delete;
  line_reader& operator=(line_reader const&) = delete;

  /// Moves to the next line; false at the end. The last one needs no line feed. What lies beyond
  /// the text's limit, and the line that reaches it, are not handed out and hardly read.
  bool next();

  /// Without its line feed; of a line that is too long its beginning. Valid until the next call.
  std::string_view line() const { return line_; }
  /// Of the line, from 1.
  std::size_t number() const { return number_; }
  bool is_line_too_long() const { return lineSize_ > limits_.line; }
  /// "longer than 131072 bytes, the most a line may be"
  std::string why_line_is_too_long() const;
  bool has_line_feed() const { return has_line_feed_; }
  /// Whether the text goes on beyond its limit; known when next() has returned false.
  bool is_text_too_long() const { return is_text_too_long_; }
  line_limits const& limits() const { return limits_; }

 private:
  bool readMore();
  void take(std::string_view part);

  Source source_;
  line_limits limits_;
  std::vector<char> buffer_;
  std::string_view rest_;  ///< what is in the buffer and not handed out yet
  std::uint64_t read_ = 0;
  std::string line_;
  std::uint64_t lineSize_ = 0;  ///< bytes, also those that line_ does not keep
  std::size_t number_ = 0;
  bool has_line_feed_ = false;
  bool is_text_too_long_ = false;
};

}  // namespace fl::filesystem
