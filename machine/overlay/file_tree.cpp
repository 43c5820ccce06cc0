#include "machine/overlay/file_tree.hpp"

#include "machine/path_grammar.hpp"

namespace machine::overlay {

namespace {

using namespace path_grammar;

/// The root of an absolute path in one form: `\\?\C:` -> `C:\`, `//?/UNC/srv/share` ->
/// `\\srv\share\`.
UString volumeOf(std::u16string_view path) {
  auto root = toNative(path.substr(0, rootLength(path)));
  bool const isDevice = root.starts_with(u"\\\\?\\") || root.starts_with(u"\\\\.\\");
  auto const name = UString(isDevice ? root.substr(4) : UString());
  if (equalIgnoringCase(name.substr(0, 4), u"UNC\\")) root = u"\\\\" + name.substr(4);
  if (name.size() >= 2 && name[1] == u':') root = name;
  if (!root.ends_with(u'\\')) root += u'\\';
  return root;
}

UString verbatim(UString const& path) {
  if (path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\")) return path;
  return path.starts_with(u"\\\\") ? u"\\\\?\\UNC\\" + path.substr(2) : u"\\\\?\\" + path;
}

/// A name in an inner folder. Only a verbatim path can name what ends with a dot or blank.
UString innerName(UString const& folder, std::u16string_view name) {
  bool const isPlain = !name.ends_with(u'.') && !name.ends_with(u' ');
  return join(isPlain ? folder : verbatim(folder), name);
}

std::unique_ptr<Node> innerNode(std::u16string_view name, UString inner) {
  auto node = std::make_unique<Node>();
  node->name = name;
  node->isInnerName = true;
  node->inner = std::move(inner);
  return node;
}

bool isWrittenFile(Node const& node) {
  return node.content && node.inner.empty();
}

Place unreachable(ErrorCode problem) {
  return {problem, nullptr, {}};
}

/// The name in the folder, which exists as far as memory knows.
Place step(Place const& folder, std::u16string_view name) {
  if (folder.node == nullptr) return {ErrorCode::success, nullptr, innerName(folder.inner, name)};
  auto const child = folder.node->children.find(foldCase(name));
  if (child != folder.node->children.end()) return {ErrorCode::success, child->second.get(), {}};
  if (folder.node->inner.empty()) return {};
  return {ErrorCode::success, nullptr, innerName(folder.node->inner, name)};
}

/// Memory knows that nothing can be below the place.
bool isNoFolder(Place const& place) {
  return place.node ? place.node->removed || isWrittenFile(*place.node) : place.inner.empty();
}

std::size_t namesIn(Node const& node) {
  std::size_t count = 1;
  for (auto const& [key, child] : node.children) count += namesIn(*child);
  return count;
}

std::uint64_t bytesIn(Node const& node) {
  std::uint64_t count = node.content ? node.content->bytes().size() : 0;
  for (auto const& [key, child] : node.children) count += bytesIn(*child);
  return count;
}

}  // namespace

PathKey FileTree::keyOf(std::u16string_view path) {
  PathKey key{foldCase(volumeOf(path))};
  for (auto const name : components(path)) key.push_back(foldCase(name));
  return key;
}

Place FileTree::find(std::u16string_view path) {
  if (path.empty()) return unreachable(ErrorCode::pathNotFound);
  if (isTooLong(path)) return unreachable(ErrorCode::fileNameTooLong);
  auto const volume = volumeOf(path);
  auto const known = volumes_.find(foldCase(volume));
  Place place{ErrorCode::success, known == volumes_.end() ? nullptr : &known->second, {}};
  if (place.node == nullptr) place.inner = volume;
  for (auto const name : components(path)) {
    if (!isFileName(name)) return unreachable(ErrorCode::invalidName);
    if (isNoFolder(place)) return unreachable(ErrorCode::pathNotFound);
    place = step(place, name);
  }
  return place;
}

std::optional<FileStatus> FileTree::status(Place const& place) {
  if (place.node) return status(*place.node);
  return place.inner.empty() ? std::nullopt : inner_.status(place.inner);
}

std::optional<FileStatus> FileTree::status(Node const& node) {
  if (node.removed) return std::nullopt;
  auto status = node.inner.empty() ? std::nullopt : inner_.status(node.inner);
  if (node.inner.empty()) {
    status = FileStatus{!node.content, false, node.content ? node.content->size() : 0};
  }
  if (status && node.attributes) status->attributes = *node.attributes;
  return status;
}

/// The folder's node, made with those above it when memory does not know them yet.
Node& FileTree::folder(std::u16string_view path) {
  auto const volume = volumeOf(path);
  auto& root = volumes_[foldCase(volume)];
  if (root.inner.empty()) root.inner = volume;
  auto* at = &root;
  for (auto const name : components(path)) {
    auto& child = at->children[foldCase(name)];
    if (!child) child = innerNode(name, innerName(at->inner, name));
    at = child.get();
  }
  return *at;
}

void FileTree::put(std::u16string_view path, std::unique_ptr<Node> node, bool replaces) {
  auto const name = fileName(path);
  auto& there = folder(parent(path)).children[foldCase(name)];
  bool const keepsName = replaces && there;
  node->name = keepsName ? there->name : UString(name);
  node->isInnerName = keepsName ? there->isInnerName : replaces;
  there = std::move(node);
}

std::unique_ptr<Node> FileTree::take(std::u16string_view path) {
  auto const name = fileName(path);
  auto& above = folder(parent(path));
  auto const [there, isUnknown] = above.children.try_emplace(foldCase(name));
  auto const inner = above.inner.empty() ? UString() : innerName(above.inner, name);
  auto taken = isUnknown ? innerNode(name, inner) : std::move(there->second);
  if (!inner.empty() && inner_.status(inner)) {
    there->second = std::make_unique<Node>();
    there->second->removed = true;
  } else {
    above.children.erase(there);
  }
  return taken;
}

std::size_t FileTree::names() const {
  std::size_t count = 0;
  for (auto const& [root, node] : volumes_) count += namesIn(node);
  return count;
}

std::uint64_t FileTree::bytes() const {
  std::uint64_t count = 0;
  for (auto const& [root, node] : volumes_) count += bytesIn(node);
  return count;
}

}  // namespace machine::overlay
