#pragma once

#include <stdexcept>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

/// The product's virtual file system: files and folders named by IRIs, from whatever provider
/// serves them.
namespace foundation::storage::vfs {

using fl::i18n::UString;

/// What kept an operation from its work. The numbers reach message catalogs and stay as they are.
enum class ErrorCode : int {
  invalidLocation = 1,        ///< no IRI, or none that a file or folder can have
  permissionDenied = 2,       ///< something is there, but the caller may not do this with it
  resourceAlreadyExists = 3,  ///< something of that name is in the way
  resourceNotFound = 4,       ///< no file or folder of that name, or no provider at all
  readOnlyProvider = 5,       ///< the medium or its provider cannot be written
  fileTooLarge = 6,           ///< more than the caller, or the medium, takes
  resourceInUse = 7,          ///< somebody else works on it just now
  noSpaceLeft = 8,            ///< the medium, or the caller's share of it, is full
  ioError = 9,                ///< the device, the network or what is on them is damaged
  operationNotSupported = 10,
  operationCancelled = 11,
  unknownError = 12,
};

/// Every failure of the virtual file system. what() is UTF-8, for developers.
class REGISTRATION_API Exception : public std::runtime_error {
 public:
  Exception(ErrorCode code, UString location);
  /// `reason`, UTF-8, follows in what().
  Exception(ErrorCode code, UString location, std::string_view reason);
  Exception(Exception const&) = default;
  Exception& operator=(Exception const&) = default;
  ~Exception() override;

  ErrorCode getErrorCode() const noexcept { return code_; }
  /// Where it happened, in a form for people: of a file or folder the path in the form of the
  /// system, else the text that was to be a location.
  UString const& getLocation() const noexcept { return location_; }

 private:
  ErrorCode code_;
  UString location_;
};

}  // namespace foundation::storage::vfs
