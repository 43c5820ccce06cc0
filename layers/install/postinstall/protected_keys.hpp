#pragma once

#include "machine/registry.hpp"

namespace install::postinstall {

/// True when deleting the key would take a key with it that the system itself lives on: a hive, a
/// key of the table, or one above such a key. The same key under its other names counts too
/// (HKEY_CLASSES_ROOT for SOFTWARE\Classes, ControlSet001 for CurrentControlSet, a user's key below
/// HKEY_USERS, WOW6432Node).
/// REQUIRES: no backslash at the path's ends, none doubled.
bool isProtectedKey(machine::RegistryKey const& key);

}  // namespace install::postinstall
