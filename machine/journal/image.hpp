#pragma once

#include <cstddef>
#include <optional>

#include "machine/change.hpp"

namespace machine::journal {

/// How an item was at one moment, as exactly as it can be put back. Shortcuts are files here, byte
/// for byte.
struct Image {
  ItemState state;
  bool isReadOnly = false;              ///< of a file
  std::optional<UString> taskDocument;  ///< of a task, with what its definition has no place for

  bool operator==(Image const&) const = default;
};

/// How the item is now; contents of files up to `keptBytes` come along. Throws SystemError, also
/// for a file that cannot be read.
Image imageOf(Machine& machine, Item const& item, std::size_t keptBytes);

/// Equal but for the bytes of a file, which its hash stands for.
bool sameImage(Image const& a, Image const& b);

bool isLink(Image const& image);

}  // namespace machine::journal
