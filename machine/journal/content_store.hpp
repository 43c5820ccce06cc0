#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "machine/change.hpp"

namespace machine::journal {

/// The contents of files that a journal keeps: short ones are handed out to be kept in the journal
/// itself, longer ones are stored, each once, under its hash.
class ContentStore {
 public:
  /// Makes `folder`. One that exists is an error (std::system_error): it is not this journal's.
  ContentStore(std::filesystem::path folder, std::size_t longestInline);

  /// Reads a file to its end, whatever its size was said to be. The content comes with its bytes,
  /// or is on the disk when this returns. Throws SystemError for the file, std::system_error for
  /// the store.
  FileContent keep(Files& files, std::u16string_view path);

 private:
  FileContent store(std::string_view beginning, FileReader& rest);

  std::filesystem::path folder_;
  std::size_t longestInline_;
  std::set<std::string> kept_;  ///< hashes
};

}  // namespace machine::journal
