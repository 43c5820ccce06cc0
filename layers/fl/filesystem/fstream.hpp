#pragma once

#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"
#include "machine/files.hpp"

/// Standard streams over the current machine's files, binary: bytes pass unchanged. As with the
/// standard file streams, a failure sets the stream's failure state and throws nothing.
namespace fl::filesystem {

using open_mode = machine::WriteMode;

class REGISTRATION_API ifstream : public std::istream {
 public:
  explicit ifstream(Path const& path);
  ~ifstream() override;
  bool is_open() const;

 private:
  class buffer;
  std::unique_ptr<buffer> buffer_;
};

class REGISTRATION_API ofstream : public std::ostream {
 public:
  ofstream(Path const& path, open_mode mode);
  ~ofstream() override;
  bool is_open() const;
  /// Flushes and closes; sets failbit when that fails.
  void close();

 private:
  class buffer;
  std::unique_ptr<buffer> buffer_;
};

}  // namespace fl::filesystem
