#pragma once

#include <cstddef>
#include <vector>

#include "machine/unicode.hpp"

namespace regplan {

/// One step of the way from one list of lines to another.
struct Edit {
  enum class Kind { keep, remove, add };

  Kind kind = Kind::keep;
  std::size_t line = 0;  ///< from 0: among the lines after; of a removed one, before

  bool operator==(Edit const&) const = default;
};

/// The fewest removed and added lines that lead from `before` to `after`, in order, removed ones
/// first where both fit. Lists that differ in very many lines are told as wholly replaced between
/// their common beginning and end, so that the time stays bounded.
std::vector<Edit> sequenceDiff(std::vector<machine::UString> const& before,
                               std::vector<machine::UString> const& after);

}  // namespace regplan
