#pragma once

#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "machine/api.hpp"

namespace foundation::storage::vfs {

/// A file IRI (RFC 8089) of a Windows file or folder in the one form that all its spellings share,
/// but for case, which Windows keeps and does not regard:
///
///     file:///C:/folder/name           on a drive
///     file://server/share/folder/name  on a share
///
/// - the scheme and the server are small letters, the drive a capital; the server "localhost" is
///   left out, and that of a share on it percent-encoded: `file://%6Cocalhost/share`;
/// - no empty names, no "." and "..", none above the drive or share, no dots and blanks at the end
///   of a name, no "/" at the end but after a drive: what Windows makes of a path;
/// - a character stands for itself where RFC 3987 lets it stand in a path; every other, and those
///   that change the direction of writing, is percent-encoded, in capital digits.
class REGISTRATION_API CanonicalAbsoluteIRI : public AbsoluteIRI {
 public:
  /// The canonical form of `iri`, continued by `relative` when that is not empty: names in the
  /// syntax of IRIs, separated by "/". Throws Exception, invalidLocation, for what names no file or
  /// folder of Windows: another scheme, a query, a user or a port, neither drive nor share, a name
  /// with a separator, a control or one of `<>:"|?*` in it, percent-encoded bytes that are not
  /// UTF-8.
  explicit CanonicalAbsoluteIRI(AbsoluteIRI const& iri, UString const& relative = UString());

  /// `path` is a Windows path, absolute. A verbatim one must name what its plain form names too.
  /// Throws Exception, invalidLocation.
  static CanonicalAbsoluteIRI ofWindowsPath(UString const& path);

 private:
  explicit CanonicalAbsoluteIRI(Canonical canonical);
};

/// The Windows path that a file IRI names: `file:///c:/a%20b/` -> `C:\a b`,
/// `file://Srv/share` -> `\\srv\share`. Throws as CanonicalAbsoluteIRI does.
REGISTRATION_API UString windowsPath(AbsoluteIRI const& iri);

}  // namespace foundation::storage::vfs
