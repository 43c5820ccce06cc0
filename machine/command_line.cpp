#include "machine/command_line.hpp"

namespace machine::command_line {
namespace {

/// Besides the units that end an argument, those that some run times expand unless they are quoted.
constexpr std::u16string_view needQuotes = u" \t\n\v\"*?";

}  // namespace

UString quoted(std::u16string_view text) {
  if (!text.empty() && text.find_first_of(needQuotes) == text.npos) {
    return UString(text);
  }
  UString result = u"\"";
  std::size_t backslashes = 0;
  for (char16_t const unit : text) {
    if (unit == u'"') {
      // Backslashes are taken as they are, except before a quote.
      result.append(backslashes + 1, u'\\');
    }
    backslashes = unit == u'\\' ? backslashes + 1 : 0;
    result += unit;
  }
  return result.append(backslashes, u'\\') + u'"';
}

UString join(std::u16string_view program, std::vector<UString> const& arguments) {
  UString line = u"\"" + UString(program) + u"\"";
  for (auto const& argument : arguments) {
    line += u' ' + quoted(argument);
  }
  return line;
}

}  // namespace machine::command_line
