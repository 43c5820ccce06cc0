#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace machine {

/// Windows system error codes that the layers tell apart. Providers on other hosts translate their
/// own errors to these. Values: Microsoft, "System Error Codes", winerror.h.
enum class ErrorCode : std::uint32_t {
  success = 0,
  fileNotFound = 2,
  pathNotFound = 3,
  accessDenied = 5,
  invalidHandle = 6,
  notEnoughMemory = 8,
  invalidData = 13,
  invalidDrive = 15,
  notSameDevice = 17,
  writeProtect = 19,
  sharingViolation = 32,
  handleDiskFull = 39,
  notSupported = 50,
  fileExists = 80,
  invalidParameter = 87,
  brokenPipe = 109,
  diskFull = 112,
  invalidName = 123,
  directoryNotEmpty = 145,
  badPathName = 161,
  alreadyExists = 183,
  badExeFormat = 193,
  fileNameTooLong = 206,
  directory = 267,
  fileTooLarge = 223,
  noMoreItems = 259,
  untrustedMountPoint = 448,
  elevationRequired = 740,
  ioDevice = 1117,
  timeout = 1460,
};

/// A system call that failed. what() is UTF-8: the operation, its subject (a path, a key) and the
/// system's reason with its code, for example
/// "open for reading C:\x\list.phl: Access is denied. (5)".
class REGISTRATION_API SystemError : public std::runtime_error {
 public:
  /// `subject` is the path or name the operation was about.
  SystemError(std::string_view operation, std::u16string_view subject, std::uint32_t code,
              std::string_view reason);
  SystemError(std::string_view operation, std::u16string_view subject, ErrorCode code);

  std::uint32_t code() const noexcept { return code_; }
  bool is(ErrorCode code) const noexcept { return code_ == static_cast<std::uint32_t>(code); }
  /// No file, folder, key or value of that name.
  bool isMissing() const noexcept {
    return is(ErrorCode::fileNotFound) || is(ErrorCode::pathNotFound);
  }

 private:
  std::uint32_t code_;
};

}  // namespace machine
