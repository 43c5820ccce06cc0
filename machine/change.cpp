#include "machine/change.hpp"

#include <algorithm>
#include <array>

#include "machine/error.hpp"
#include "machine/sha256.hpp"

namespace machine {

namespace {

bool isPath(Item::Kind kind) {
  return kind == Item::Kind::file || kind == Item::Kind::folder || kind == Item::Kind::shortcut;
}

UString withoutEmptyNames(std::u16string_view path) {
  UString result;
  for (std::size_t at = 0; at < path.size();) {
    auto const end = std::min(path.find(u'\\', at), path.size());
    if (end > at) result.append(result.empty() ? u"" : u"\\").append(path.substr(at, end - at));
    at = end + 1;
  }
  return result;
}

FileContent contentOf(Files& files, std::u16string_view path, FileStatus const& status,
                      std::size_t shownBytes) {
  FileContent content;
  content.size = status.size;
  try {
    if (!status.isDirectory) content = fileContent(files, path, shownBytes);
  } catch (SystemError const&) {
    // A file that nobody may read, or a link that leads nowhere: it is there all the same.
  }
  content.isLink = status.isLink;
  return content;
}

std::optional<Shortcut> shortcutIn(Machine& machine, std::u16string_view path) {
  try {
    return machine.shell().readShortcut(path);
  } catch (SystemError const&) {
    return std::nullopt;  // a file that is no shortcut
  }
}

ItemState stateOfPath(Machine& machine, Item const& item, std::size_t shownBytes) {
  auto const status = machine.files().status(item.where);
  if (!status) return {};
  if (status->isDirectory && !status->isLink) return Existing{};
  if (item.kind == Item::Kind::shortcut && !status->isLink) {
    if (auto shortcut = shortcutIn(machine, item.where)) return *std::move(shortcut);
  }
  return contentOf(machine.files(), item.where, *status, shownBytes);
}

ItemState stateOfService(Services& services, std::u16string_view name) {
  auto const definition = services.definition(name);
  if (!definition) return {};
  return ServiceCondition{*definition, services.state(name).value_or(ServiceState::stopped)};
}

template <class Value>
ItemState stateFrom(std::optional<Value> value) {
  return value ? ItemState(*std::move(value)) : ItemState();
}

}  // namespace

Item itemOf(RegistryKey const& key) {
  UString where(registryRootName(key.root));
  if (auto const path = withoutEmptyNames(key.path); !path.empty()) where += u'\\' + path;
  return {Item::Kind::registryKey, std::move(where), {}};
}

Item itemOf(RegistryKey const& key, std::u16string_view value) {
  return {Item::Kind::registryValue, itemOf(key).where, UString(value)};
}

RegistryKey keyOf(Item const& item) {
  auto const end = std::min(item.where.find(u'\\'), item.where.size());
  auto const root = registryRootFromName(std::u16string_view(item.where).substr(0, end));
  bool const isRegistry =
      item.kind == Item::Kind::registryKey || item.kind == Item::Kind::registryValue;
  if (!root || !isRegistry) throw SystemError("find the key", item.where, ErrorCode::badPathName);
  return {*root, end < item.where.size() ? item.where.substr(end + 1) : UString()};
}

UString identityOf(Item const& item) {
  auto const kind = isPath(item.kind) ? Item::Kind::file : item.kind;
  // No name holds a NUL.
  return UString(1, static_cast<char16_t>(kind)) + foldCase(item.where) + u'\0' +
         foldCase(item.value);
}

bool sameItem(Item const& a, Item const& b) {
  return identityOf(a) == identityOf(b);
}

FileContent fileContent(FileReader& file, std::size_t shownBytes) {
  std::array<char, 65536> part;
  Sha256 hash;
  FileContent content;
  std::string shown;
  while (std::size_t const count = file.read(part)) {
    std::string_view const bytes(part.data(), count);
    hash.add(bytes);
    content.size += count;
    shown.append(bytes.substr(0, shownBytes + 1 - std::min(shown.size(), shownBytes + 1)));
  }
  content.sha256 = hash.finish();
  if (content.size <= shownBytes) content.bytes = std::move(shown);
  return content;
}

FileContent fileContent(Files& files, std::u16string_view path, std::size_t shownBytes) {
  return fileContent(*files.openForReading(path), shownBytes);
}

ItemState stateOf(Machine& machine, Item const& item, std::size_t shownBytes) {
  switch (item.kind) {
    case Item::Kind::file:
    case Item::Kind::folder:
    case Item::Kind::shortcut:
      return stateOfPath(machine, item, shownBytes);
    case Item::Kind::registryKey:
      return machine.registry().keyExists(keyOf(item)) ? ItemState(Existing{}) : ItemState();
    case Item::Kind::registryValue:
      return stateFrom(machine.registry().value(keyOf(item), item.value));
    case Item::Kind::variable:
      return stateFrom(machine.environment().variable(item.where));
    case Item::Kind::task:
      return stateFrom(machine.tasks().task(item.where));
    case Item::Kind::taskFolder:
      return machine.tasks().folderExists(item.where) ? ItemState(Existing{}) : ItemState();
    case Item::Kind::service:
      return stateOfService(machine.services(), item.where);
  }
  return {};
}

}  // namespace machine
