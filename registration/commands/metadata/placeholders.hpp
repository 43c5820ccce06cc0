#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace registration::commands::metadata {

/// In bytes. A text of many tokens and a long value would otherwise become one of gigabytes.
inline constexpr std::size_t longestReplaced = std::size_t{1} << 20;

/// `text` with `value` in the place of every `token`; case matters, and what was put in is not
/// searched again. REQUIRES: a token that is not empty. Throws
/// std::length_error when that is longer than longestReplaced.
std::string withReplaced(std::string_view text, std::string_view token, std::string_view value);

}  // namespace registration::commands::metadata
