#pragma once

#include <span>
#include <string>
#include <string_view>

/// Text for people: what comes from a plan, a log message or an exception, made fit to print.
namespace regplan {

/// `utf8` as one line that a terminal shows and never obeys: line breaks as "\n" and "\r", other
/// control characters as "\u001B", ill-formed UTF-8 as U+FFFD.
std::string printable(std::string_view utf8);

/// printable, cut after `limit` UTF-16 units with "..." in the place of the rest.
std::string shortened(std::string_view utf8, std::size_t limit);

/// "a, b, c".
std::string joined(std::span<std::string_view const> names);

/// The one of `known` that `name` was probably meant to be: the fewest letters to change, insert,
/// drop or swap with a neighbour, not counting case; empty when all are far from it.
std::string_view nearest(std::string_view name, std::span<std::string_view const> known);

/// "1 command", "3 commands".
std::string counted(std::size_t number, std::string_view noun);

}  // namespace regplan
