#pragma once

#include <filesystem>
#include <span>
#include <string_view>

#include "machine/api.hpp"
#include "machine/error.hpp"
#include "machine/host/host_calls.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// An open file of the host. Failures are std::system_error with the host's error.
class REGISTRATION_API HostFile {
 public:
  HostFile(std::filesystem::path const& path, host::OpenMode mode);
  ~HostFile();
  HostFile(HostFile const&) = delete;
  HostFile& operator=(HostFile const&) = delete;

  std::size_t read(std::span<char> buffer);
  /// The next read starts there, from the beginning.
  void seek(std::uint64_t position);
  void write(std::string_view bytes);
  void flush();
  /// Locks the file against other locks until it is closed; false when somebody else has it.
  bool tryLock();
  /// REQUIRES: not closed yet.
  void close();

 private:
  int file_;
};

/// The Windows error that a host's error stands for.
ErrorCode fromHost(std::error_code const& error);

/// A host's file name as Windows text, and the reverse. REQUIRES: `name` is well-formed UTF-16.
UString fromHostName(std::filesystem::path const& name);
std::filesystem::path toHostName(std::u16string_view name);

/// No unpaired surrogates: the text survives the way through UTF-8.
bool isWellFormed(std::u16string_view text);

}  // namespace machine
