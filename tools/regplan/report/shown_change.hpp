#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "machine/change.hpp"

/// The words and forms that every report has for changes. Texts from the machine stay UTF-16 as
/// they are: making them fit to print is the work of who shows them.
namespace regplan {

enum class Difference { added, changed, removed };

Difference differenceOf(machine::Change const& change);
/// "added", "changed", "removed".
std::string_view differenceName(Difference difference);

/// What people look for when they look for changes.
enum class Group { files, folders, shortcuts, registry, environment, tasks, services };

Group groupOf(machine::Item::Kind kind);
/// "Files", "Registry" and so on.
std::string_view groupName(Group group);

/// "(default)" for the value without a name.
machine::UString valueName(machine::Item const& item);
/// The item's full name: a registry value's with its key.
machine::UString itemName(machine::Item const& item);

/// A value's content as people write it: text, "1 (0x00000001)", or bytes in hexadecimal, the first
/// few of many. The texts of a REG_MULTI_SZ are separated by line feeds.
machine::UString registryText(machine::RegistryValue const& value);

/// A condition in one line, but for the line breaks that texts themselves have: "none", a text, a
/// file's size and SHA-256.
machine::UString stateText(machine::ItemState const& state);

/// "12,345 bytes".
std::string byteCount(std::uint64_t size);

using Properties = std::vector<std::pair<std::string_view, machine::UString>>;

/// The named properties of a shortcut, task or service, always the same ones in the same order;
/// empty for every other state.
Properties propertiesOf(machine::ItemState const& state);

/// A change of a text that is a list: the entries before and after.
struct ListChange {
  std::vector<machine::UString> before;
  std::vector<machine::UString> after;
};

/// The list, when the texts of a registry value or variable are REG_MULTI_SZ or separated by ";",
/// with at least two entries on one side. An empty entry, such as after a last ";", is one too.
std::optional<ListChange> listChange(machine::Change const& change);

}  // namespace regplan
