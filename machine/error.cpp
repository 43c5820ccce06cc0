#include "machine/error.hpp"

#include "machine/unicode.hpp"

namespace machine {

namespace {

/// The texts of an English Windows.
std::string_view systemText(ErrorCode code) {
  switch (code) {
    case ErrorCode::success:
      return "The operation completed successfully.";
    case ErrorCode::fileNotFound:
      return "The system cannot find the file specified.";
    case ErrorCode::pathNotFound:
      return "The system cannot find the path specified.";
    case ErrorCode::accessDenied:
      return "Access is denied.";
    case ErrorCode::invalidHandle:
      return "The handle is invalid.";
    case ErrorCode::notEnoughMemory:
      return "Not enough memory resources are available to process this command.";
    case ErrorCode::invalidData:
      return "The data is invalid.";
    case ErrorCode::invalidDrive:
      return "The system cannot find the drive specified.";
    case ErrorCode::notSameDevice:
      return "The system cannot move the file to a different disk drive.";
    case ErrorCode::writeProtect:
      return "The media is write protected.";
    case ErrorCode::sharingViolation:
      return "The process cannot access the file because it is being used by another process.";
    case ErrorCode::handleDiskFull:
      return "The disk is full.";
    case ErrorCode::notSupported:
      return "The request is not supported.";
    case ErrorCode::fileExists:
      return "The file exists.";
    case ErrorCode::invalidParameter:
      return "The parameter is incorrect.";
    case ErrorCode::brokenPipe:
      return "The pipe has been ended.";
    case ErrorCode::diskFull:
      return "There is not enough space on the disk.";
    case ErrorCode::invalidName:
      return "The filename, directory name, or volume label syntax is incorrect.";
    case ErrorCode::directoryNotEmpty:
      return "The directory is not empty.";
    case ErrorCode::badPathName:
      return "The specified path is invalid.";
    case ErrorCode::alreadyExists:
      return "Cannot create a file when that file already exists.";
    case ErrorCode::badExeFormat:
      return "%1 is not a valid Win32 application.";
    case ErrorCode::fileNameTooLong:
      return "The filename or extension is too long.";
    case ErrorCode::directory:
      return "The directory name is invalid.";
    case ErrorCode::fileTooLarge:
      return "The file size exceeds the limit allowed and cannot be saved.";
    case ErrorCode::noMoreItems:
      return "No more data is available.";
    case ErrorCode::untrustedMountPoint:
      return "The path cannot be traversed because it contains an untrusted mount point.";
    case ErrorCode::elevationRequired:
      return "The requested operation requires elevation.";
    case ErrorCode::ioDevice:
      return "The request could not be performed because of an I/O device error.";
    case ErrorCode::timeout:
      return "This operation returned because the timeout period expired.";
  }
  return "Unknown error.";
}

std::string message(std::string_view operation, std::u16string_view subject, std::uint32_t code,
                    std::string_view reason) {
  std::string text(operation);
  if (!subject.empty()) text.append(" ").append(toUtf8(subject));
  return text.append(": ").append(reason).append(" (").append(std::to_string(code)).append(")");
}

}  // namespace

SystemError::SystemError(std::string_view operation, std::u16string_view subject,
                         std::uint32_t code, std::string_view reason)
    : std::runtime_error(message(operation, subject, code, reason)), code_(code) {}

SystemError::SystemError(std::string_view operation, std::u16string_view subject, ErrorCode code)
    : SystemError(operation, subject, static_cast<std::uint32_t>(code), systemText(code)) {}

}  // namespace machine
