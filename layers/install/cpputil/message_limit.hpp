#pragma once

#include <cstddef>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace install::cpputil {

/// The most that one message to the log and one text told as trouble may have, in UTF-16 units: at
/// most three times as many bytes in UTF-8. Longer ones are cut.
inline constexpr std::size_t longest_message = std::size_t{64} << 10;

/// The beginning of a message that is longer than that, with a note at its end that says so; as
/// long as a message may be at most.
REGISTRATION_API fl::i18n::UString cut_message(fl::i18n::UString const& message);

}  // namespace install::cpputil
