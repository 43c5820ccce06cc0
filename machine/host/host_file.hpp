#pragma once

#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>

#include "machine/api.hpp"
#include "machine/error.hpp"
#include "machine/host/host_calls.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// What a host's call has just failed with, its text "OPERATION FILE: reason", in UTF-8.
REGISTRATION_API std::system_error hostError(std::string_view operation,
                                             std::filesystem::path const& file);

/// Gives a file another name, in the place of one that has it. Throws std::system_error.
REGISTRATION_API void renameHostFile(std::filesystem::path const& from,
                                     std::filesystem::path const& to);

/// An open file of the host. Failures are std::system_error with the host's error, and with the
/// file's name in their text.
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
  /// What others may do with the file.
  ForeignAccess foreignAccess() const;
  /// REQUIRES: not closed yet.
  void close();

 private:
  template <typename Result>
  Result checked(std::string_view operation, Result result) const;

  std::filesystem::path path_;
  int file_;
};

/// Makes a folder of the host and those above it, each where it is missing. Throws
/// std::system_error.
REGISTRATION_API void makeFolders(std::filesystem::path const& folder);

/// The Windows error that a host's error stands for.
ErrorCode fromHost(std::error_code const& error);

/// A host's file name as Windows text, and the reverse. REQUIRES: `name` is well-formed UTF-16.
UString fromHostName(std::filesystem::path const& name);
std::filesystem::path toHostName(std::u16string_view name);

/// No unpaired surrogates: the text survives the way through UTF-8.
bool isWellFormed(std::u16string_view text);

}  // namespace machine
