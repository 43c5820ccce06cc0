#pragma once

#include <cstddef>
#include <string_view>

#include "machine/api.hpp"

namespace machine {

/// Sizes and offsets in the header of a file *.lnk, and the flags that tell what follows it.
/// Format, here and below: Microsoft, "[MS-SHLLINK]: Shell Link (.LNK) Binary File Format",
/// section 2.
namespace shell_link {

constexpr std::size_t headerSize = 76;
constexpr std::size_t flagsOffset = 20;
constexpr std::size_t showCommandOffset = 60;

}  // namespace shell_link

/// Throws SystemError (invalidData) for `path`, with the part that is wrong and the byte it begins
/// at, unless `bytes` are a whole link: its header, item list, link information, texts and extra
/// data, each with all that its sizes, offsets and counts promise. Anybody may leave a file in a
/// folder that an administrator's program looks into, and not every shell checks what it reads.
/// That the last block is followed by the mark of the end is not asked for.
REGISTRATION_API void requireWholeShellLink(std::string_view bytes, std::u16string_view path);

}  // namespace machine
