#pragma once

#include <string>
#include <utility>
#include <vector>

#include "machine/foreign_access.hpp"

/// How a folder is reached without being led elsewhere by what others have laid on the way. Every
/// name is opened in the folder before it, which is held open, and the open folder itself is asked
/// what it is: nothing that is exchanged afterwards changes what is used.
namespace machine::host {

/// A folder held open. `Handle` closes it.
template <class Handle>
struct ReachedFolder {
  Handle handle;
  std::string name;      ///< for messages, UTF-8
  ForeignAccess access;  ///< to this folder
  std::string weakness;  ///< why what is below may be of others' choosing; empty when it is not

  /// Where the first of what may be exchanged is, with this folder itself counted.
  std::string weaknessWithin() const {
    if (!weakness.empty() || !access.mayReplace) return weakness;
    return name + " " + weaknessOf(access);
  }
};

/// A link is followed only where nobody else can have laid it: in a folder whose names others
/// cannot exchange, and there, when others can add names, only one that is none of theirs. Throws
/// UntrustedPath for any other. `entry`: see reachFolder.
template <class Handle, class Entry>
void requireOwnLink(ReachedFolder<Handle> const& folder, Entry const& entry) {
  auto const weakness = folder.weaknessWithin();
  if (!weakness.empty()) throw UntrustedPath(entry.name + " is a link, and " + weakness);
  if (folder.access.mayWrite && entry.access.any()) {
    throw UntrustedPath(entry.name + " is a link that " + weaknessOf(entry.access));
  }
}

/// Opens the folder of an absolute path, following links as requireOwnLink allows.
///
/// System:
/// - `Path`, a folder's; `Handle`
/// - `ReachedFolder<Handle> root(Path const&)`: the folder where the path starts
/// - `std::vector<Path> names(Path const&)`: the names below it
/// - `Entry open(ReachedFolder<Handle> const&, Path const& name)`: the entry itself, no link
///   followed. Entry: `Handle handle`, `std::string name`, `bool isLink`, `ForeignAccess access`
/// - `Path target(ReachedFolder<Handle> const&, Path const& name)`: the absolute path that a link
///   leads to
/// - `Path joined(Path const&, Path const&)`
/// - `[[noreturn]] void failTooManyLinks(Path const&)`
///
/// Throws UntrustedPath, and what the system's functions throw.
template <class System>
auto reachFolder(System& system, typename System::Path folder)
    -> ReachedFolder<typename System::Handle> {
  constexpr int mostLinks = 40;
  for (int links = 0; links <= mostLinks; ++links) {
    auto const names = system.names(folder);
    auto reached = system.root(folder);
    auto next = names.begin();
    for (; next != names.end(); ++next) {
      auto entry = system.open(reached, *next);
      if (entry.isLink) {
        requireOwnLink(reached, entry);
        break;
      }
      reached = {std::move(entry.handle), std::move(entry.name), std::move(entry.access),
                 reached.weaknessWithin()};
    }
    if (next == names.end()) return reached;
    auto target = system.target(reached, *next);
    while (++next != names.end()) target = system.joined(target, *next);
    folder = std::move(target);
  }
  system.failTooManyLinks(folder);
}

}  // namespace machine::host
