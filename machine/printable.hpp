#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace machine {

/// Text from outside (a file, a log message, an exception) as one line that a terminal shows and
/// never obeys: line breaks as "\n" and "\r", other control characters, those of the writing
/// direction too, as "\u001B", ill-formed UTF-8 as U+FFFD.
REGISTRATION_API std::string printable(std::string_view utf8);

/// printable, cut after `limit` UTF-16 units with "..." in the place of the rest.
REGISTRATION_API std::string shortened(std::string_view utf8, std::size_t limit);

}  // namespace machine
