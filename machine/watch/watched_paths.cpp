#include "machine/watch/watched_paths.hpp"

#include <algorithm>

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine::watch {

namespace {

/// One spelling for a place: a verbatim path that means the same without its prefix loses it.
UString absolutePath(Files& files, std::u16string_view path) {
  if (!path_grammar::isVerbatim(path))
    return path_grammar::absolute(path, files.currentDirectory());
  constexpr std::u16string_view verbatimShare = u"\\\\?\\UNC\\";
  UString const plain = path.starts_with(verbatimShare)
                            ? u"\\\\" + UString(path.substr(verbatimShare.size()))
                            : UString(path.substr(4));
  bool const meansTheSame = path_grammar::isAbsolute(plain) && !path_grammar::isVerbatim(plain) &&
                            path_grammar::absolute(plain, plain) == plain;
  return meansTheSame ? plain : UString(path);
}

bool hasShortcutsName(std::u16string_view path) {
  constexpr std::u16string_view extension = u".lnk";
  return path.size() > extension.size() &&
         equalIgnoringCase(path.substr(path.size() - extension.size()), extension);
}

bool isShortcut(Machine& machine, UString const& path) {
  try {
    return hasShortcutsName(path) && machine.shell().readShortcut(path).has_value();
  } catch (SystemError const&) {
    return false;
  }
}

bool isFolder(std::optional<FileStatus> const& status) {
  return status && status->isDirectory && !status->isLink;
}

Item itemAt(Machine& machine, UString const& path) {
  auto const status = machine.files().status(path);
  if (isFolder(status)) return {Item::Kind::folder, path, {}};
  bool const shortcut = status && !status->isLink && isShortcut(machine, path);
  return {shortcut ? Item::Kind::shortcut : Item::Kind::file, path, {}};
}

/// All that is in a folder, each folder before what is in it.
void addContents(Machine& machine, UString const& folder, std::vector<Item>& items) {
  std::vector<UString> names;
  auto const stream = machine.files().openDirectory(folder);
  for (DirectoryEntry entry; stream->next(entry);) names.emplace_back(entry.name);
  for (auto const& name : names) {
    items.push_back(itemAt(machine, path_grammar::join(folder, name)));
    if (items.back().kind == Item::Kind::folder) {
      addContents(machine, UString(items.back().where), items);
    }
  }
}

}  // namespace

Item pathItem(Machine& machine, std::u16string_view path) {
  return itemAt(machine, absolutePath(machine.files(), path));
}

std::vector<Item> renamedItems(Machine& machine, std::u16string_view from, std::u16string_view to) {
  std::vector<Item> old{pathItem(machine, from)};
  UString const oldPath = old.front().where;
  UString const newPath = absolutePath(machine.files(), to);
  if (old.front().kind == Item::Kind::folder) addContents(machine, oldPath, old);
  std::vector<Item> items(old.rbegin(), old.rend());
  // Changing the case of a name moves nothing to a place of its own.
  if (equalIgnoringCase(oldPath, newPath)) return items;
  for (auto& item : old) {
    item.where = newPath + item.where.substr(oldPath.size());
    items.push_back(std::move(item));
  }
  return items;
}

}  // namespace machine::watch
