#include "machine/line_reader.hpp"

#include <algorithm>
#include <utility>

namespace machine {

namespace {

constexpr std::size_t bufferSize = std::size_t{64} << 10;

LineReader::Source sourceOf(std::string_view text) {
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

LineReader::LineReader(Source source, LineLimits limits)
    : source_(std::move(source)), limits_(limits), buffer_(bufferSize) {}

LineReader::LineReader(std::string_view text, LineLimits limits)
    : LineReader(sourceOf(text), limits) {}

bool LineReader::next() {
  line_.clear();
  lineSize_ = 0;
  hasLineFeed_ = false;
  while (!hasLineFeed_ && (!rest_.empty() || readMore())) {
    auto const end = std::min(rest_.find('\n'), rest_.size());
    take(rest_.substr(0, end));
    hasLineFeed_ = end < rest_.size();
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
  }
  bool const isLine = hasLineFeed_ || (lineSize_ > 0 && !isTextTooLong_);
  if (isLine) ++number_;
  return isLine;
}

std::string LineReader::whyLineIsTooLong() const {
  return "longer than " + std::to_string(limits_.line) + " bytes, the most a line may be";
}

bool LineReader::readMore() {
  if (isTextTooLong_) return false;
  // One byte beyond the limit tells that there is more.
  auto const left = limits_.text - read_;
  auto const wanted = std::min<std::uint64_t>(buffer_.size() - 1, left) + 1;
  std::size_t count = source_(std::span(buffer_).first(static_cast<std::size_t>(wanted)));
  isTextTooLong_ = count > left;
  if (isTextTooLong_) --count;
  read_ += count;
  rest_ = std::string_view(buffer_.data(), count);
  return count > 0;
}

void LineReader::take(std::string_view part) {
  line_ += part.substr(0, limits_.line - line_.size());
  lineSize_ += part.size();
}

}  // namespace machine
