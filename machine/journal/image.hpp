#pragma once

#include <functional>
#include <optional>

#include "machine/change.hpp"

namespace machine::journal {

/// How an item was at one moment, as exactly as it can be put back. Shortcuts are files here, byte
/// for byte.
struct Image {
  ItemState state;
  FileAttributes attributes{};            ///< of a file
  std::optional<Link> link{};             ///< of a link; nullopt for one that cannot be made anew
  std::optional<UString> taskDocument{};  ///< of a task, with what its definition has no place for

  bool operator==(Image const&) const = default;
};

/// Reads a file to its end.
using ReadContent = std::function<FileContent(Files& files, std::u16string_view path)>;

/// How the item is now. What `readContent` makes of a file is its content; without one it is told
/// by size and hash. Throws SystemError, also for a file that cannot be read.
Image imageOf(Machine& machine, Item const& item, ReadContent const& readContent = {});

/// Equal but for the bytes of a file, which its hash stands for, and for the time it was created,
/// which not every file system keeps.
bool sameImage(Image const& a, Image const& b);

bool isNothing(ItemState const& state);
bool isLink(Image const& image);

}  // namespace machine::journal
