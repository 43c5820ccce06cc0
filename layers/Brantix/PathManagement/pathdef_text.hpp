#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "machine/api.hpp"

/// The text of a search-path definition file:
///
///     pathdef 1
///     # The folders that are searched, in this order; $root is the installation folder.
///     "$root\toolbox\vortan\general"
///     "D:\shared folders\größen 100%"
///     "\\server\share\it's ""quoted"""
///
/// UTF-8, a line feed after each line. The first line that is neither empty nor a comment gives the
/// version. A line that begins with "#" is a comment. Every other line is one folder between
/// quotation marks: its absolute Windows path, a quotation mark in it doubled, nothing else
/// changed. `$root` at the beginning, alone or before a "\", stands for the installation folder, so
/// that an installation can be moved: what lies below it is written that way.
///
/// A reader takes blanks around a line, a carriage return at its end, a byte order mark at the
/// beginning, and no line feed after the last line. A line that is none of these is passed over
/// with a warning; a missing or unknown version is one too, and the lines are then read as those of
/// version 1.
namespace Brantix::PathManagement {

/// REQUIRES: the entries are file IRIs; throws foundation::storage::vfs::Exception,
/// invalidLocation, else. Read back with the same root it gives the canonical forms of `entries`.
REGISTRATION_API std::string pathdefText(
    std::vector<foundation::storage::vfs::AbsoluteIRI> const& entries,
    foundation::storage::vfs::CanonicalAbsoluteIRI const& root);

/// `file`: where the text was read, for the warnings.
REGISTRATION_API std::vector<foundation::storage::vfs::AbsoluteIRI> entriesOf(
    std::string_view text, fl::i18n::UString const& file,
    foundation::storage::vfs::CanonicalAbsoluteIRI const& root,
    foundation::core::except::Notification& notification);

}  // namespace Brantix::PathManagement
