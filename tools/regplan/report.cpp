#include "tools/regplan/report.hpp"

#include <algorithm>

#include "machine/printable.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using machine::printable;

constexpr std::string_view outcomeIndent = "      ";
constexpr std::string_view messageIndent = "        ";
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
  output << "\n  " << command.name << "\n" << wrapped(command.description, 6);
  for (ArgumentDescription const& argument : command.arguments) {
    output << "\n      " << argument.name << " (" << typeName(argument.type)
           << needName(argument.need) << ")\n"
           << wrapped(argument.description, 10);
  }
}

}  // namespace

void TextProgress::started(std::size_t number, std::size_t total, std::string const& name) {
  output_ << "\n[" << number << "/" << total << "] " << name << std::endl;
}

void TextProgress::message(std::string const& text) {
  output_ << messageIndent << printable(text) << std::endl;
}

void TextProgress::finished(CommandResult const& result) {
  bool const failed = result.outcome == Outcome::failed;
  output_ << outcomeIndent << outcomeName(result.outcome) << (failed ? " after " : " in ")
          << formatDuration(result.duration);
  if (failed) output_ << ": " << printable(result.reason);
  output_ << std::endl;
}

std::string summary(std::span<CommandResult const> results) {
  std::string text = counted(results.size(), "command") + ": ";
  std::chrono::steady_clock::duration total{};
  for (CommandResult const& result : results) total += result.duration;
  for (Outcome const outcome : {Outcome::done, Outcome::doneWithProblems, Outcome::failed}) {
    auto const count = std::ranges::count(results, outcome, &CommandResult::outcome);
    if (count > 0) text += std::to_string(count) + " " + std::string(outcomeName(outcome)) + ", ";
  }
  if (results.empty()) return text + "nothing to do";
  return text + "in " + formatDuration(total);
}

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
