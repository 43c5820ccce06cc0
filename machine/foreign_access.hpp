#pragma once

#include <stdexcept>
#include <string>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// What others may do with a file or folder: every account but those that could do anything anyway,
/// which are the administrators, the system and the account that runs this program (on POSIX hosts
/// root and this user). An owner counts as one who may do both, because an owner sets the rights.
struct ForeignAccess {
  UString owner;            ///< the owner's name, when the owner is one of the others; else empty
  bool mayWrite = false;    ///< change a file's content; make new names in a folder
  bool mayReplace = false;  ///< remove or rename it, or what is in a folder; change its rights

  bool any() const { return mayWrite || mayReplace; }
  bool operator==(ForeignAccess const&) const = default;
};

/// What is wrong with that, for people, in UTF-8: "belongs to bob", "may be written by others",
/// "may be replaced by others". REQUIRES: access.any().
REGISTRATION_API std::string weaknessOf(ForeignAccess const& access);

/// Somebody else could have laid, or could still exchange, what a path leads to, so it was not
/// used. what(), UTF-8, names the file or folder and the reason: "/shared/log is a link in a folder
/// where others may make names".
class REGISTRATION_API UntrustedPath : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace machine
