#pragma once

#include "machine/registry.hpp"

namespace install::postinstall {

/// Throws std::invalid_argument, with the key's name and the reason, unless the key may be a
/// product's own: it lies below one of the places where products add keys (SOFTWARE, its Classes,
/// Clients and Policies, Microsoft's App Paths and Uninstall, the Services), is not Microsoft's
/// there, and holds, among the classes and services that Windows keeps in the same place, nothing
/// but strings, which is all that RegistryUtil writes.
///
/// A place itself, and what is above one, is no product's. A key counts under each of its names
/// (HKEY_CLASSES_ROOT, ControlSet001, WOW6432Node, a user's key below HKEY_USERS).
/// REQUIRES: no backslash at the path's ends, none doubled.
void requireProductKey(machine::Registry& registry, machine::RegistryKey const& key);

}  // namespace install::postinstall
