#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "machine/change.hpp"

namespace machine::journal {

/// The longer contents of files that a journal keeps, each once, under its hash.
class ContentStore {
 public:
  /// `folder` is made with the first content. One that exists is an error then: it is not this
  /// journal's.
  explicit ContentStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// Copies a file's content; it is on the disk when this returns. Throws SystemError for the file,
  /// std::system_error for the store.
  FileContent keep(Files& files, std::u16string_view path);

 private:
  void makeFolder();  ///< once

  std::filesystem::path folder_;
  bool made_ = false;
  std::set<std::string> kept_;  ///< hashes
};

}  // namespace machine::journal
