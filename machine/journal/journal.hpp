#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "machine/change.hpp"
#include "machine/journal/damage.hpp"
#include "machine/journal/image.hpp"

namespace machine::journal {

/// What a journal says of one item.
struct Entry {
  Item item;
  Image before;  ///< before its first change
  /// After its last change. nullopt when that may not have ended: the process was stopped, or the
  /// state could not be read.
  std::optional<Image> after;
};

/// A journal, read.
struct Journal {
  std::filesystem::path files;  ///< the folder of the longer contents
  std::string created;          ///< ISO 8601, UTC
  std::string plan;
  std::vector<Entry> entries;  ///< in the order in which the items were changed first
  std::vector<HandOver> handOvers;
  std::optional<Damage> damage;  ///< nullopt: read to its end
};

/// Reads a journal as far as it is whole. Throws std::system_error when the file cannot be opened
/// or read, std::runtime_error when it is whole and no journal, or one of another version.
REGISTRATION_API Journal readJournal(std::filesystem::path const& file);

}  // namespace machine::journal
