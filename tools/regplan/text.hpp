#pragma once

#include <span>
#include <string>
#include <string_view>

/// The words regplan has for names that plans and command lines get wrong, and for numbers of
/// things.
namespace regplan {

/// How much of a name that a plan or a command line gives is shown, in UTF-16 units.
inline constexpr std::size_t shownName = 80;

/// A given name in quotes, fit to print.
std::string inQuotes(std::string_view name);

/// The one of `known` that `name` was probably meant to be: the fewest letters to change, insert,
/// drop or swap with a neighbour, not counting case; empty when all are far from it.
std::string_view nearest(std::string_view name, std::span<std::string_view const> known);

/// "unknown option; did you mean "rootPath"? Known: rootPath, ..." for `what` "option". `name` is
/// what was given.
std::string unknown(std::string_view what, std::string_view name,
                    std::span<std::string_view const> known);

/// `text`, words apart by blanks, in lines of at most `width` bytes; those after the first are
/// indented by `indent` blanks, which count.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t width);

/// "1 command", "3 commands".
std::string counted(std::size_t number, std::string_view noun);

}  // namespace regplan
