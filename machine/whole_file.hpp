#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "machine/api.hpp"
#include "machine/files.hpp"

namespace machine {

/// The content of a file; nullopt when nothing of that name exists. Throws SystemError,
/// fileTooLarge for more than `limit` bytes.
REGISTRATION_API std::optional<std::string> readFile(Files& files, std::u16string_view path,
                                                     std::size_t limit);

/// Puts a file with this content in the place of `path` at once: whatever fails, what was there is
/// still there, also when the process is killed on the way. It is written under the name `path` +
/// ".tmp"; a file that an earlier failure left there is removed. Throws SystemError.
REGISTRATION_API void replaceFile(Files& files, std::u16string_view path, std::string_view bytes);

}  // namespace machine
