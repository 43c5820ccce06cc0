#include "tools/regplan/report/shown_change.hpp"

#include <algorithm>

#include "machine/hexadecimal.hpp"
#include "machine/little_endian.hpp"
#include "tools/regplan/names.hpp"

namespace regplan {
namespace {

using machine::Change;
using machine::Item;
using machine::ItemState;
using machine::RegistryType;
using machine::RegistryValue;
using machine::ServiceRecovery;
using machine::toUtf16;
using machine::UString;

constexpr std::size_t shownBytes = 64;

UString yesOrNo(bool value) {
  return value ? u"yes" : u"no";
}

template <typename Value>
UString words(Value value) {
  return toUtf16(nameOf(value).words);
}

UString bytesText(std::string_view bytes) {
  std::string text;
  for (char const byte : bytes.substr(0, shownBytes)) {
    if (!text.empty()) text += ' ';
    text += machine::hexadecimal({&byte, 1});
  }
  if (bytes.size() > shownBytes) text += " ... (" + byteCount(bytes.size()) + ")";
  return toUtf16(text.empty() ? "no bytes" : text);
}

/// "1 (0x00000001)".
UString numberText(std::string_view bytes) {
  std::string bigEndian(bytes.rbegin(), bytes.rend());
  return toUtf16(std::to_string(machine::littleEndian(bytes)) + " (0x" +
                 machine::hexadecimal(bigEndian) + ")");
}

bool isText(RegistryType type) {
  return type == RegistryType::string || type == RegistryType::expandableString;
}

/// Without the terminators that the registry stores: one at a text's end, two at a list's.
UString storedText(RegistryValue const& value) {
  return value.data.size() % 2 == 0 ? value.text() : UString();
}

std::vector<UString> split(std::u16string_view text, char16_t separator) {
  std::vector<UString> entries;
  for (;;) {
    std::size_t const end = text.find(separator);
    entries.emplace_back(text.substr(0, end));
    if (end == std::u16string_view::npos) return entries;
    text.remove_prefix(end + 1);
  }
}

UString joined(std::vector<UString> const& lines) {
  UString text;
  for (UString const& line : lines) {
    if (!text.empty()) text += u'\n';
    text += line;
  }
  return text;
}

UString recoveryText(ServiceRecovery const& recovery) {
  std::string text;
  for (ServiceRecovery::Action const& action : recovery.actions) {
    if (!text.empty()) text += ", then ";
    text += std::string(nameOf(action.kind).words) + " after " +
            std::to_string(action.delay.count()) + " ms";
  }
  if (text.empty()) return u"nothing";
  return toUtf16(text + "; counted anew after " + std::to_string(recovery.resetAfter.count()) +
                 " s");
}

UString iconText(machine::Shortcut const& shortcut) {
  if (shortcut.iconFile.empty()) return u"the target's own";
  return shortcut.iconFile + u", " + toUtf16(std::to_string(shortcut.iconIndex));
}

struct PropertyLister {
  Properties operator()(machine::Shortcut const& shortcut) const {
    return {{"Target", shortcut.target},
            {"Arguments", shortcut.arguments},
            {"Working folder", shortcut.workingFolder},
            {"Description", shortcut.description},
            {"Icon", iconText(shortcut)},
            {"Window", words(shortcut.window)},
            {"Runs as administrator", yesOrNo(shortcut.runAsAdministrator)},
            {"Searches for a lost target", yesOrNo(!shortcut.neverSearchForTarget)}};
  }
  Properties operator()(machine::TaskDefinition const& task) const {
    return {{"Program", task.application},
            {"Arguments", task.arguments},
            {"Working folder", task.workingFolder},
            {"Description", task.description},
            {"Author", task.author},
            {"Starts at log-on", yesOrNo(task.startsAtLogon)},
            {"Highest run level", yesOrNo(task.highestRunLevel)},
            {"Runs as group", task.group},
            {"Enabled", yesOrNo(task.enabled)}};
  }
  Properties operator()(machine::ServiceCondition const& service) const {
    return {{"Display name", service.definition.displayName},
            {"Description", service.definition.description},
            {"Command line", service.definition.commandLine},
            {"Start", words(service.definition.start)},
            {"When it fails", recoveryText(service.definition.recovery)},
            {"State", words(service.state)}};
  }
  template <typename Other>
  Properties operator()(Other const&) const {
    return {};
  }
};

struct StateText {
  UString operator()(std::monostate) const { return u"none"; }
  UString operator()(machine::Existing) const { return u"exists"; }
  UString operator()(machine::FileContent const& file) const {
    std::string const content =
        file.sha256.empty() ? "content not readable" : "SHA-256 " + file.sha256;
    return toUtf16((file.isLink ? "link, " : "") + byteCount(file.size) + ", " + content);
  }
  UString operator()(RegistryValue const& value) const {
    return toUtf16(registryTypeName(value.type) + " ") + registryText(value);
  }
  UString operator()(UString const& text) const { return text; }
  template <typename Described>
  UString operator()(Described const& described) const {
    return PropertyLister{}(described).front().second;
  }
};

/// The entries of a state's text; nullopt when it has none that could be a list.
std::optional<std::vector<UString>> entriesOf(ItemState const& state) {
  if (std::holds_alternative<std::monostate>(state)) return std::vector<UString>();
  auto const* const value = std::get_if<RegistryValue>(&state);
  if (value && value->type == RegistryType::multiString) {
    UString const text = storedText(*value);
    return text.empty() ? std::vector<UString>() : split(text, u'\0');
  }
  auto const* const variable = std::get_if<UString>(&state);
  if (!variable && !(value && isText(value->type))) return std::nullopt;
  UString const text = variable ? *variable : storedText(*value);
  return text.empty() ? std::vector<UString>() : split(text, u';');
}

}  // namespace

Difference differenceOf(Change const& change) {
  if (std::holds_alternative<std::monostate>(change.before)) return Difference::added;
  if (std::holds_alternative<std::monostate>(change.after)) return Difference::removed;
  return Difference::changed;
}

std::string_view differenceName(Difference difference) {
  switch (difference) {
    case Difference::added:
      return "added";
    case Difference::changed:
      return "changed";
    case Difference::removed:
      return "removed";
  }
  return {};
}

Group groupOf(Item::Kind kind) {
  switch (kind) {
    case Item::Kind::file:
      return Group::files;
    case Item::Kind::folder:
      return Group::folders;
    case Item::Kind::shortcut:
      return Group::shortcuts;
    case Item::Kind::registryKey:
    case Item::Kind::registryValue:
      return Group::registry;
    case Item::Kind::variable:
      return Group::environment;
    case Item::Kind::task:
    case Item::Kind::taskFolder:
      return Group::tasks;
    case Item::Kind::service:
      return Group::services;
  }
  return Group::files;
}

std::string_view groupName(Group group) {
  switch (group) {
    case Group::files:
      return "Files";
    case Group::folders:
      return "Folders";
    case Group::shortcuts:
      return "Shortcuts";
    case Group::registry:
      return "Registry";
    case Group::environment:
      return "Environment";
    case Group::tasks:
      return "Tasks";
    case Group::services:
      return "Services";
  }
  return {};
}

UString valueName(Item const& item) {
  return item.value.empty() ? u"(default)" : item.value;
}

UString itemName(Item const& item) {
  return item.kind == Item::Kind::registryValue ? item.where + u"\\" + valueName(item) : item.where;
}

UString registryText(RegistryValue const& value) {
  bool const isEven = value.data.size() % 2 == 0;
  if (isText(value.type) && isEven) return storedText(value);
  if (value.type == RegistryType::multiString && isEven) {
    return joined(split(storedText(value), u'\0'));
  }
  bool const isNumber = (value.type == RegistryType::dword && value.data.size() == 4) ||
                        (value.type == RegistryType::qword && value.data.size() == 8);
  return isNumber ? numberText(value.data) : bytesText(value.data);
}

UString stateText(ItemState const& state) {
  return std::visit(StateText{}, state);
}

std::string byteCount(std::uint64_t size) {
  std::string digits = std::to_string(size);
  for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
  return digits + (size == 1 ? " byte" : " bytes");
}

Properties propertiesOf(ItemState const& state) {
  return std::visit(PropertyLister{}, state);
}

std::optional<ListChange> listChange(Change const& change) {
  auto before = entriesOf(change.before);
  auto after = entriesOf(change.after);
  if (!before || !after || std::max(before->size(), after->size()) < 2) return std::nullopt;
  return ListChange{*std::move(before), *std::move(after)};
}

}  // namespace regplan
