#pragma once

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

/// The file types of the product, in the machine's own part of HKEY_CLASSES_ROOT:
///
///   HKEY_LOCAL_MACHINE\SOFTWARE\Classes\Vortan.Document       (default) = "Vortan Document"
///     DefaultIcon                                             (default) = "<program>,1"
///     shell\open\command                                      (default) = "\"<program>\" \"%1\""
///   HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.vtn                  (default) = "Vortan.Document"
///     OpenWithProgids                                         Vortan.Document = (REG_NONE)
///
/// <program> is "<installation root>\bin\win64\vortan.exe". A program identifier belongs to the
/// installation that its open command names; the one registered last has it. What a user chose
/// (UserChoice) is never touched.
namespace platform::reg {

using fl::i18n::UString;

/// Registers the file types of the product with this code (4, 8 or 16) for the installation under
/// `installationRoot`, and tells the shell once; doing it again changes nothing. An extension's
/// program of another maker is remembered in the extension's value "Vortan.Previous".
///
/// Throws std::runtime_error for another code, std::invalid_argument for a root that is not
/// absolute or has a quotation mark in it, machine::SystemError when the system refuses: what was
/// written before stays.
REGISTRATION_API void registerFileAssociations(UString const& installationRoot,
                                               unsigned long productCode);

/// Takes back what registering for the same root and code wrote; nothing when it is not there, or
/// belongs to an installation under another root by now. An extension's default is changed only
/// while it names our program, and is given back to the remembered one when that is still
/// registered. Keys that are empty afterwards go, whatever others put into them stays. The shell is
/// told when anything changed. Throws as registering does.
REGISTRATION_API void unregisterFileAssociations(UString const& installationRoot,
                                                 unsigned long productCode);

}  // namespace platform::reg
