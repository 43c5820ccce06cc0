#pragma once

#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

/// A program's arguments as the one text that Windows passes to it. Rules: Microsoft, "Parsing C
/// command-line arguments".
namespace machine::command_line {

/// `text` so that the C run time takes it as one argument exactly as it is: `a b` -> `"a b"`,
/// `` -> `""`, `a"b` -> `"a\"b"`, `C:\a b\` -> `"C:\a b\\"`.
REGISTRATION_API UString quoted(std::u16string_view text);

/// The command line for a program and its arguments. REQUIRES: no NULs, and no quote in `program`:
/// the first name is read by simpler rules, which have no way to write one.
REGISTRATION_API UString join(std::u16string_view program, std::vector<UString> const& arguments);

}  // namespace machine::command_line
