#pragma once

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"
#include "machine/files.hpp"

/// A standard stream over the current machine's files, binary: bytes pass unchanged. As with the
/// standard file streams, a failure sets the stream's failure state and throws nothing; unlike
/// them, this one tells which it was. Lists are read with fl::filesystem::line_reader, within
/// limits.
namespace fl::filesystem {

using open_mode = machine::WriteMode;

class REGISTRATION_API ofstream : public std::ostream {
 public:
  ofstream(Path const& path, open_mode mode);
  ~ofstream() override;
  bool is_open() const;
  /// Flushes and closes; sets failbit when that fails.
  void close();
  /// The text of the first failure, in UTF-8; empty as long as there was none. What was written
  /// before it may be in the file, all or in part.
  std::string const& failure() const { return failure_; }

 private:
  class buffer;
  std::string failure_;
  std::unique_ptr<buffer> buffer_;
};

}  // namespace fl::filesystem
