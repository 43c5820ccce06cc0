#include "bundles/localstorage/system_errors.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace localstorage {

namespace vfs = foundation::storage::vfs;

namespace {

struct Meaning {
  std::uint32_t systemError;
  vfs::ErrorCode meaning;
};

/// Values: Microsoft, "System Error Codes", winerror.h.
constexpr Meaning meanings[] = {
    {87, vfs::ErrorCode::invalidLocation},         // ERROR_INVALID_PARAMETER
    {123, vfs::ErrorCode::invalidLocation},        // ERROR_INVALID_NAME
    {161, vfs::ErrorCode::invalidLocation},        // ERROR_BAD_PATHNAME
    {206, vfs::ErrorCode::invalidLocation},        // ERROR_FILENAME_EXCED_RANGE
    {267, vfs::ErrorCode::invalidLocation},        // ERROR_DIRECTORY
    {5, vfs::ErrorCode::permissionDenied},         // ERROR_ACCESS_DENIED
    {65, vfs::ErrorCode::permissionDenied},        // ERROR_NETWORK_ACCESS_DENIED
    {740, vfs::ErrorCode::permissionDenied},       // ERROR_ELEVATION_REQUIRED
    {1314, vfs::ErrorCode::permissionDenied},      // ERROR_PRIVILEGE_NOT_HELD
    {1326, vfs::ErrorCode::permissionDenied},      // ERROR_LOGON_FAILURE
    {80, vfs::ErrorCode::resourceAlreadyExists},   // ERROR_FILE_EXISTS
    {183, vfs::ErrorCode::resourceAlreadyExists},  // ERROR_ALREADY_EXISTS
    {2, vfs::ErrorCode::resourceNotFound},         // ERROR_FILE_NOT_FOUND
    {3, vfs::ErrorCode::resourceNotFound},         // ERROR_PATH_NOT_FOUND
    {15, vfs::ErrorCode::resourceNotFound},        // ERROR_INVALID_DRIVE
    {21, vfs::ErrorCode::resourceNotFound},        // ERROR_NOT_READY
    {53, vfs::ErrorCode::resourceNotFound},        // ERROR_BAD_NETPATH
    {67, vfs::ErrorCode::resourceNotFound},        // ERROR_BAD_NET_NAME
    {1921, vfs::ErrorCode::resourceNotFound},      // ERROR_CANT_RESOLVE_FILENAME: links in a ring
    {19, vfs::ErrorCode::readOnlyProvider},        // ERROR_WRITE_PROTECT
    {6009, vfs::ErrorCode::readOnlyProvider},      // ERROR_FILE_READ_ONLY
    {223, vfs::ErrorCode::fileTooLarge},           // ERROR_FILE_TOO_LARGE
    {32, vfs::ErrorCode::resourceInUse},           // ERROR_SHARING_VIOLATION
    {33, vfs::ErrorCode::resourceInUse},           // ERROR_LOCK_VIOLATION
    {170, vfs::ErrorCode::resourceInUse},          // ERROR_BUSY
    {303, vfs::ErrorCode::resourceInUse},          // ERROR_DELETE_PENDING
    {1224, vfs::ErrorCode::resourceInUse},         // ERROR_USER_MAPPED_FILE
    {1460, vfs::ErrorCode::resourceInUse},         // ERROR_TIMEOUT: of a lock
    {39, vfs::ErrorCode::noSpaceLeft},             // ERROR_HANDLE_DISK_FULL
    {112, vfs::ErrorCode::noSpaceLeft},            // ERROR_DISK_FULL
    {1295, vfs::ErrorCode::noSpaceLeft},           // ERROR_DISK_QUOTA_EXCEEDED
    {23, vfs::ErrorCode::ioError},                 // ERROR_CRC
    {25, vfs::ErrorCode::ioError},                 // ERROR_SEEK
    {29, vfs::ErrorCode::ioError},                 // ERROR_WRITE_FAULT
    {30, vfs::ErrorCode::ioError},                 // ERROR_READ_FAULT
    {31, vfs::ErrorCode::ioError},                 // ERROR_GEN_FAILURE
    {55, vfs::ErrorCode::ioError},                 // ERROR_DEV_NOT_EXIST
    {59, vfs::ErrorCode::ioError},                 // ERROR_UNEXP_NET_ERR
    {64, vfs::ErrorCode::ioError},                 // ERROR_NETNAME_DELETED
    {109, vfs::ErrorCode::ioError},                // ERROR_BROKEN_PIPE
    {1117, vfs::ErrorCode::ioError},               // ERROR_IO_DEVICE
    {1392, vfs::ErrorCode::ioError},               // ERROR_FILE_CORRUPT
    {1393, vfs::ErrorCode::ioError},               // ERROR_DISK_CORRUPT
    {1, vfs::ErrorCode::operationNotSupported},    // ERROR_INVALID_FUNCTION
    {17, vfs::ErrorCode::operationNotSupported},   // ERROR_NOT_SAME_DEVICE
    {50, vfs::ErrorCode::operationNotSupported},   // ERROR_NOT_SUPPORTED
    {995, vfs::ErrorCode::operationCancelled},     // ERROR_OPERATION_ABORTED
    {1223, vfs::ErrorCode::operationCancelled},    // ERROR_CANCELLED
};

}  // namespace

vfs::ErrorCode errorCodeFor(machine::SystemError const& failure) {
  auto const* const found =
      std::find_if(std::begin(meanings), std::end(meanings),
                   [&](Meaning const& entry) { return entry.systemError == failure.code(); });
  return found == std::end(meanings) ? vfs::ErrorCode::unknownError : found->meaning;
}

}  // namespace localstorage
