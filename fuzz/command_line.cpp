#include "machine/command_line.hpp"

#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"

namespace {

using machine::UString;

/// The arguments as a program's C run time takes them from its command line: Microsoft, "Parsing C
/// command-line arguments". The program's own name is read by simpler rules.
std::vector<UString> parsed(std::u16string_view line) {
  std::vector<UString> arguments(1);
  bool inQuotes = false;
  std::size_t at = 0;
  for (; at < line.size() && (inQuotes || (line[at] != u' ' && line[at] != u'\t')); ++at) {
    if (line[at] == u'"') {
      inQuotes = !inQuotes;
    } else {
      arguments.back() += line[at];
    }
  }
  inQuotes = false;
  bool isInArgument = false;
  while (at < line.size()) {
    std::size_t backslashes = 0;
    while (at < line.size() && line[at] == u'\\') {
      ++backslashes;
      ++at;
    }
    bool const beforeQuote = at < line.size() && line[at] == u'"';
    bool const isEnd = at == line.size() || (!inQuotes && (line[at] == u' ' || line[at] == u'\t'));
    if (!isInArgument && (backslashes > 0 || !isEnd)) {
      isInArgument = true;
      arguments.emplace_back();
    }
    if (backslashes > 0) {
      arguments.back().append(beforeQuote ? backslashes / 2 : backslashes, u'\\');
    }
    if (isEnd) {
      isInArgument = false;
      ++at;
    } else if (!beforeQuote) {
      arguments.back() += line[at++];
    } else if (backslashes % 2 == 1) {
      arguments.back() += line[at++];
    } else if (inQuotes && at + 1 < line.size() && line[at + 1] == u'"') {
      arguments.back() += u'"';
      at += 2;
    } else {
      inQuotes = !inQuotes;
      ++at;
    }
  }
  return arguments;
}

}  // namespace

/// Every line is an argument, the first one the program, which can hold no quotation mark.
void fuzz::run(std::string_view input) {
  UString program = machine::toUtf16(takeLine(input));
  std::vector<UString> expected;
  for (bool isLast = false; !isLast;) {
    isLast = input.find('\n') == input.npos;
    expected.push_back(machine::toUtf16(takeLine(input)));
  }
  std::erase_if(program, [](char16_t unit) { return unit == u'"' || unit == 0; });
  for (auto& argument : expected) std::erase(argument, u'\0');
  UString const line = machine::command_line::join(program, expected);
  expected.insert(expected.begin(), program);
  FUZZ_EXPECT(parsed(line) == expected);
}
