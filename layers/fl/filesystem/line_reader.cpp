#include "fl/filesystem/line_reader.hpp"

#include <algorithm>
#include <memory>
#include <utility>

#include "machine/machine.hpp"

namespace fl::filesystem {

namespace {

constexpr std::size_t bufferSize = std::size_t{64} << 10;

line_reader::Source sourceOf(Path const& file) {
  std::shared_ptr<machine::FileReader> const reader =
      machine::current().files().openForReading(file.ustring());
  return [reader](std::span<char> buffer) { return reader->read(buffer); };
}

line_reader::Source sourceOf(std::string_view text) {
  return [text](std::span<char> buffer) mutable {
    std::size_t const count = text.copy(buffer.data(), buffer.size());
    text.remove_prefix(count);
    return count;
  };
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\n\v\f\r";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

line_reader::line_reader(Source source, line_limits limits)
    : source_(std::move(source)), limits_(limits), buffer_(bufferSize) {}

line_reader::line_reader(Path const& file, line_limits limits)
    : line_reader(sourceOf(file), limits) {}

line_reader::line_reader(std::string_view text, line_limits limits)
    : line_reader(sourceOf(text), limits) {}

bool line_reader::next() {
  line_.clear();
  lineSize_ = 0;
  has_line_feed_ = false;
  while (!has_line_feed_ && (!rest_.empty() || readMore())) {
    auto const end = std::min(rest_.find('\n'), rest_.size());
    take(rest_.substr(0, end));
    has_line_feed_ = end < rest_.size();
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
  }
  bool const isLine = has_line_feed_ || (lineSize_ > 0 && !is_text_too_long_);
  if (isLine) ++number_;
  return isLine;
}

std::string line_reader::why_line_is_too_long() const {
  return "longer than " + std::to_string(limits_.line) + " bytes, the most a line may be";
}

bool line_reader::readMore() {
  if (is_text_too_long_) return false;
  // One byte beyond the limit tells that there is more.
  auto const left = limits_.text - read_;
  auto const wanted = std::min<std::uint64_t>(buffer_.size() - 1, left) + 1;
  std::size_t count = source_(std::span(buffer_).first(static_cast<std::size_t>(wanted)));
  is_text_too_long_ = count > left;
  if (is_text_too_long_) --count;
  read_ += count;
  rest_ = std::string_view(buffer_.data(), count);
  return count > 0;
}

void line_reader::take(std::string_view part) {
  line_ += part.substr(0, limits_.line - line_.size());
  lineSize_ += part.size();
}

}  // namespace fl::filesystem
