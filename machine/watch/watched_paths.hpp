#pragma once

#include <vector>

#include "machine/change.hpp"

namespace machine::watch {

/// The item that a path, relative or not, names on the machine now.
Item pathItem(Machine& machine, std::u16string_view path);

/// What may change when `from` is given the name `to`: both names and, when a folder moves, all
/// that is in it, see WatchedMachine.
std::vector<Item> renamedItems(Machine& machine, std::u16string_view from, std::u16string_view to);

}  // namespace machine::watch
