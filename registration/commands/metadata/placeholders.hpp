#pragma once

#include <string>
#include <string_view>

namespace registration::commands::metadata {

/// `text` with `value` in the place of every `token`; case matters, and what was put in is not
/// searched again. REQUIRES: a token that is not empty.
std::string withReplaced(std::string_view text, std::string_view token, std::string_view value);

}  // namespace registration::commands::metadata
