#pragma once

#include "machine/machine.hpp"

namespace machine::journal {

/// Where a journal's changes were made. What is another computer's, or in HKEY_CURRENT_USER and the
/// folders of another user, is not what they changed, whatever its name.
struct Origin {
  UString computer;    ///< its name, for people; empty where it tells none
  UString computerId;  ///< the MachineGuid that the system was set up with; empty where it has none
  UString account;     ///< DOMAIN\\name, for people; empty where it tells none
  UString accountId;   ///< the account's security identifier

  bool operator==(Origin const&) const = default;
};

/// Throws SystemError.
REGISTRATION_API Origin originOf(Machine& machine);

/// By their identifiers, or by their names where one of the two has none.
REGISTRATION_API bool sameComputer(Origin const& a, Origin const& b);
REGISTRATION_API bool sameAccount(Origin const& a, Origin const& b);

}  // namespace machine::journal
