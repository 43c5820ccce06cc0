#include "foundation/storage/vfs/Exception.hpp"

#include <utility>

namespace foundation::storage::vfs {

namespace {

std::string_view nameOf(ErrorCode code) {
  switch (code) {
    case ErrorCode::invalidLocation:
      return "invalid location";
    case ErrorCode::permissionDenied:
      return "permission denied";
    case ErrorCode::resourceAlreadyExists:
      return "resource already exists";
    case ErrorCode::resourceNotFound:
      return "resource not found";
    case ErrorCode::readOnlyProvider:
      return "read-only provider";
    case ErrorCode::fileTooLarge:
      return "file too large";
    case ErrorCode::resourceInUse:
      return "resource in use";
    case ErrorCode::noSpaceLeft:
      return "no space left";
    case ErrorCode::ioError:
      return "input or output error";
    case ErrorCode::operationNotSupported:
      return "operation not supported";
    case ErrorCode::operationCancelled:
      return "operation cancelled";
    case ErrorCode::unknownError:
      break;
  }
  return "unknown error";
}

std::string message(ErrorCode code, UString const& location, std::string_view reason) {
  std::string text(nameOf(code));
  text += ": " + fl::i18n::ustring_to_utf8(location);
  if (!reason.empty()) {
    text.append(" (").append(reason).append(")");
  }
  return text;
}

}  // namespace

Exception::Exception(ErrorCode code, UString location)
    : Exception(code, std::move(location), std::string_view()) {}

Exception::Exception(ErrorCode code, UString location, std::string_view reason)
    : std::runtime_error(message(code, location, reason)),
      code_(code),
      location_(std::move(location)) {}

Exception::~Exception() = default;

}  // namespace foundation::storage::vfs
