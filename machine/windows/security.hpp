#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string_view>

#include "machine/foreign_access.hpp"
#include "machine/unicode.hpp"
#include "machine/windows/handles.hpp"

/// Who may do what, as the system's access lists tell it.
namespace machine::windows {

using UniqueDescriptor = std::unique_ptr<void, ReleaseWith<LocalFree>>;

/// A security identifier, owned. Making one throws SystemError.
class Identifier {
 public:
  explicit Identifier(WELL_KNOWN_SID_TYPE kind);
  /// The user that this thread acts for.
  static Identifier ofUser();

  PSID get() const { return const_cast<BYTE*>(bytes_.data()); }
  /// "S-1-5-32-544"
  UString text() const;

 private:
  Identifier() = default;
  alignas(DWORD) std::array<BYTE, SECURITY_MAX_SID_SIZE> bytes_{};
};

/// Whether this thread acts for an administrator with the rights of one.
bool isAdministrator();

/// From the security descriptor definition language. Throws SystemError.
UniqueDescriptor descriptorFrom(UString const& text);

/// Full access for administrators and the system, where this is no administrator for this user too,
/// and nothing taken over from the folder above; what is made in a folder gets the same. For
/// everybody else nothing, or with `isReadable` reading and running. An administrator's belongs to
/// the administrators.
UString ownAccess(bool isReadable);

/// What others may do with an open file or folder, which must be open with READ_CONTROL. Where the
/// system does not tell, all. `name` is for an error.
ForeignAccess foreignAccessOf(HANDLE file, std::u16string_view name);

}  // namespace machine::windows
