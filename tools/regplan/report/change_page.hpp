#pragma once

#include <span>
#include <string>

#include "machine/change.hpp"

namespace regplan {

/// Changes as HTML: those of the registry as one tree, each other one by itself with what was
/// before and after.
std::string changesHtml(std::span<machine::Change const> changes);

/// What was before and after, without the item's name; empty where there is nothing to tell.
std::string changeBodyHtml(machine::Change const& change);

/// The item's name as HTML.
std::string itemHtml(machine::Item const& item);

}  // namespace regplan
