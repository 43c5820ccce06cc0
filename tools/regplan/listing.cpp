#include "tools/regplan/listing.hpp"

#include <algorithm>

namespace regplan {
namespace {

constexpr std::size_t lineWidth = 80;

/// `text` broken between words, each line after `indent`.
std::string wrapped(std::string_view text, std::size_t indent) {
  std::string result;
  std::string line;
  auto const flush = [&] {
    result += std::string(indent, ' ') + line + "\n";
    line.clear();
  };
  while (!text.empty()) {
    std::string_view const word = text.substr(0, text.find(' '));
    if (!line.empty() && indent + line.size() + 1 + word.size() > lineWidth) flush();
    if (!line.empty()) line += ' ';
    line += word;
    text.remove_prefix(std::min(text.size(), word.size() + 1));
  }
  flush();
  return result;
}

std::string_view needName(Need need) {
  switch (need) {
    case Need::optional:
      return "";
    case Need::required:
      return ", required";
    case Need::notEmpty:
      return ", required, not empty";
  }
  return {};
}

void writeCommand(std::ostream& output, CommandDescription const& command) {
  output << "\n  " << command.name << "\n" << wrapped(descriptionOf(command), 6);
  for (ArgumentDescription const& argument : command.arguments) {
    output << "\n      " << argument.name << " (" << typeName(argument.type)
           << needName(argument.need) << ")\n"
           << wrapped(argument.description, 10);
  }
}

}  // namespace

void writeCatalogue(std::ostream& output, std::span<CommandDescription const> commands,
                    std::span<OptionDescription const> options) {
  output << "Commands of a plan, each with its arguments:\n";
  for (CommandDescription const& command : commands) writeCommand(output, command);
  output << "\nOptions of a plan; one left out is false or empty:\n";
  for (OptionDescription const& option : options) {
    output << "\n  " << option.name << " (" << typeName(option) << ")\n"
           << wrapped(option.description, 6);
  }
}

}  // namespace regplan
