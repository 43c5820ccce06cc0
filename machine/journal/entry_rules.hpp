#pragma once

#include "machine/journal/image.hpp"

/// What a journal may say of an item. The writer refuses what the reader would, so that a journal
/// is never refused for what a machine let happen.
namespace machine::journal {

/// Throws SystemError for an item whose name depends on something else or names none: a path that
/// is not absolute and worked out, a key or value that the registry cannot have, a whole root.
void requireItem(Item const& item);

/// Throws std::runtime_error for a state that such an item cannot have.
void requireState(Item::Kind kind, Image const& image);

}  // namespace machine::journal
