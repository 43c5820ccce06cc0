#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "machine/change.hpp"
#include "machine/journal/damage.hpp"
#include "machine/journal/image.hpp"
#include "machine/journal/origin.hpp"

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
  /// Why nobody can tell who wrote it, in UTF-8; empty for a journal that only administrators, the
  /// system and this account could write and replace.
  std::string weakness;
  std::filesystem::path files;  ///< the folder of the longer contents
  std::string created;          ///< ISO 8601, UTC
  std::string plan;
  Origin origin;               ///< where the changes were made
  std::vector<Entry> entries;  ///< in the order in which the items were changed first
  std::vector<HandOver> handOvers;
  std::optional<Damage> damage;  ///< nullopt: read to its end
};

/// Whose journals are read. A restore does what a journal says, with all rights of who runs it.
enum class JournalTrust {
  required,  ///< only one without a weakness
  waived     ///< anybody's
};

/// Reads a journal as far as it is whole; a record with an item or state that no machine can have
/// counts as damaged. Throws UntrustedPath for one with a weakness, in the file, in FILE.files or
/// in a folder above; std::system_error when the file cannot be opened or read; std::runtime_error
/// when it is whole and no journal, or one of another version.
REGISTRATION_API Journal readJournal(std::filesystem::path const& file,
                                     JournalTrust trust = JournalTrust::required);

}  // namespace machine::journal
