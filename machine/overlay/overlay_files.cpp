#include "machine/overlay/overlay_files.hpp"

#include <algorithm>
#include <array>

#include "machine/host/own_way.hpp"
#include "machine/overlay/merged_directory.hpp"
#include "machine/path_grammar.hpp"

namespace machine::overlay {

namespace {

/// An operation on a path, with the errors that every machine has for it.
class Operation {
 public:
  Operation(std::string_view name, std::u16string_view subject, FileTree& tree)
      : name_(name), subject_(subject), tree_(tree) {}

  [[noreturn]] void fail(ErrorCode code) const { throw SystemError(name_, subject_, code); }
  void require(bool condition, ErrorCode code) const {
    if (!condition) fail(code);
  }

  /// As the machine's own operations refuse it.
  void requireOwnWay(Files& files, std::u16string_view path) const {
    refusingUntrusted(name_, subject_, [&] { machine::requireOwnWay(files, path); });
  }

  /// What is at a path where something may be made; nullopt when nothing is, but its folder.
  std::optional<FileStatus> statusWithFolder(UString const& path, Place const& place) const {
    require(place.problem == ErrorCode::success, place.problem);
    auto const status = tree_.status(place);
    if (!status && !isRoot(path)) requireFolder(UString(path_grammar::parent(path)));
    return status;
  }

  static bool isRoot(UString const& path) { return FileTree::keyOf(path).size() == 1; }

 private:
  void requireFolder(UString const& path) const {
    auto const status = tree_.status(tree_.find(path));
    require(status && status->isDirectory, ErrorCode::pathNotFound);
  }

  std::string_view name_;
  std::u16string_view subject_;
  FileTree& tree_;
};

ListedNode listed(Node const& node, std::optional<FileStatus> status) {
  return {node.name, node.isInnerName, status};
}

bool isBelow(PathKey const& key, PathKey const& folder) {
  return key.size() > folder.size() && std::equal(folder.begin(), folder.end(), key.begin());
}

std::unique_ptr<Node> writtenFile(std::shared_ptr<WrittenContent> content) {
  auto node = std::make_unique<Node>();
  node->content = std::move(content);
  return node;
}

/// The inner thing at a place, of which memory holds nothing but perhaps its name.
UString const& innerOf(Place const& place) {
  return place.node ? place.node->inner : place.inner;
}

}  // namespace

OverlayFiles::OverlayFiles(Files& inner)
    : inner_(inner), tree_(inner), currentFolder_(inner.currentDirectory()) {}

UString OverlayFiles::absolute(std::u16string_view path) const {
  auto result = path_grammar::absolute(path, currentFolder_);
  while (result.size() > path_grammar::rootLength(result) && result.back() == u'\\')
    result.pop_back();
  return result;
}

std::optional<FileStatus> OverlayFiles::status(std::u16string_view path) {
  return tree_.status(tree_.find(absolute(path)));
}

std::unique_ptr<DirectoryStream> OverlayFiles::openDirectory(std::u16string_view path) {
  Operation const operation("list", path, tree_);
  auto const place = tree_.find(absolute(path));
  operation.require(place.problem == ErrorCode::success, place.problem);
  if (!place.node) {
    operation.require(!place.inner.empty(), ErrorCode::pathNotFound);
    return inner_.openDirectory(place.inner);
  }
  auto const status = tree_.status(place);
  operation.require(status.has_value(), ErrorCode::pathNotFound);
  operation.require(status->isDirectory, ErrorCode::directory);
  std::map<UString, ListedNode> nodes;
  for (auto const& [key, child] : place.node->children)
    nodes.emplace(key, listed(*child, tree_.status(*child)));
  bool const isSeen = !place.node->inner.empty();
  return mergeDirectory(isSeen ? inner_.openDirectory(place.node->inner) : nullptr,
                        std::move(nodes));
}

std::unique_ptr<FileReader> OverlayFiles::openForReading(std::u16string_view path) {
  Operation const operation("open for reading", path, tree_);
  auto const place = tree_.find(absolute(path));
  operation.require(place.problem == ErrorCode::success, place.problem);
  if (place.node && place.node->content) return makeReader(inner_, place.node->content);
  if (!innerOf(place).empty()) return inner_.openForReading(innerOf(place));
  bool const isFolder = place.node && !place.node->removed;
  operation.fail(isFolder ? ErrorCode::accessDenied : ErrorCode::fileNotFound);
}

std::unique_ptr<FileWriter> OverlayFiles::openForWriting(std::u16string_view path, WriteMode mode) {
  Operation const operation("open for writing", path, tree_);
  auto const target = absolute(path);
  auto const place = tree_.find(target);
  auto const status = operation.statusWithFolder(target, place);
  operation.requireOwnWay(*this,
                          mode == WriteMode::createNew ? path_grammar::parent(target) : target);
  operation.require(!status || mode != WriteMode::createNew, ErrorCode::fileExists);
  operation.require(!status || (!status->isDirectory && !status->attributes.isReadOnly),
                    ErrorCode::accessDenied);
  operation.require(!Operation::isRoot(target), ErrorCode::pathNotFound);
  std::shared_ptr<WrittenContent> content;
  if (status) {
    content = contentFor(target, place, *status, mode);
  } else {
    content = std::make_shared<WrittenContent>();
    tree_.put(target, writtenFile(content), false);
  }
  return makeWriter(std::move(content), mode == WriteMode::append);
}

/// The content of an existing file, to be written to.
std::shared_ptr<WrittenContent> OverlayFiles::contentFor(UString const& path, Place const& place,
                                                         FileStatus const& status, WriteMode mode) {
  bool const appends = mode == WriteMode::append;
  if (place.node && place.node->content) {
    if (!appends) place.node->content->clear();
    return place.node->content;
  }
  auto const inner = innerOf(place);
  if (status.isLink) inner_.openForReading(inner);  // fails for a link to nothing
  auto content = appends ? std::make_shared<WrittenContent>(
                               inner, status.isLink ? sizeByReading(inner) : status.size)
                         : std::make_shared<WrittenContent>();
  auto node = writtenFile(content);
  if (status.isLink) node->inner = inner;
  tree_.put(path, std::move(node), true);
  return content;
}

/// Of what a link leads to: its own size is another.
std::uint64_t OverlayFiles::sizeByReading(UString const& innerFile) {
  auto const reader = inner_.openForReading(innerFile);
  std::array<char, 1 << 14> part;
  std::uint64_t size = 0;
  while (auto const count = reader->read(part)) size += count;
  return size;
}

ForeignAccess OverlayFiles::foreignAccess(std::u16string_view path) {
  Operation const operation("look at", path, tree_);
  auto const place = tree_.find(absolute(path));
  operation.require(tree_.status(place).has_value(), ErrorCode::fileNotFound);
  return innerOf(place).empty() ? ForeignAccess() : inner_.foreignAccess(innerOf(place));
}

Claim OverlayFiles::claimDirectory(std::u16string_view path) {
  if (!status(path)) {
    createDirectory(path);
    return Claim::made;
  }
  createDirectory(path);  // fails for what is no folder
  auto const target = absolute(path);
  auto const above = foreignAccess(path_grammar::parent(target));
  auto const own = foreignAccess(target);
  refusingUntrusted("claim the folder", path, [&] {
    if (!own.owner.empty()) throw UntrustedPath(toUtf8(target) + " " + weaknessOf(own));
    if (above.mayReplace) {
      throw UntrustedPath(toUtf8(path_grammar::parent(target)) + " " + weaknessOf(above));
    }
  });
  return own.any() ? Claim::takenOver : Claim::own;
}

void OverlayFiles::createDirectory(std::u16string_view path) {
  Operation const operation("make the folder", path, tree_);
  auto const target = absolute(path);
  auto const status = operation.statusWithFolder(target, tree_.find(target));
  operation.requireOwnWay(*this, path_grammar::parent(target));
  if (status) return operation.require(status->isDirectory, ErrorCode::alreadyExists);
  operation.require(!Operation::isRoot(target), ErrorCode::pathNotFound);
  tree_.put(target, std::make_unique<Node>(), false);
}

bool OverlayFiles::removeFile(std::u16string_view path) {
  Operation const operation("remove the file", path, tree_);
  auto const target = absolute(path);
  auto const status = tree_.status(tree_.find(target));
  if (!status) return false;
  operation.requireOwnWay(*this, path_grammar::parent(target));
  operation.require(!status->isDirectory, ErrorCode::accessDenied);
  tree_.take(target);
  return true;
}

bool OverlayFiles::removeDirectory(std::u16string_view path) {
  Operation const operation("remove the folder", path, tree_);
  auto const target = absolute(path);
  auto const status = tree_.status(tree_.find(target));
  if (!status) return false;
  operation.requireOwnWay(*this, path_grammar::parent(target));
  operation.require(!Operation::isRoot(target), ErrorCode::accessDenied);
  operation.require(status->isDirectory, ErrorCode::directory);
  DirectoryEntry entry;
  operation.require(status->isLink || !openDirectory(target)->next(entry),
                    ErrorCode::directoryNotEmpty);
  tree_.take(target);
  return true;
}

void OverlayFiles::rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) {
  Operation const operation("rename", from, tree_);
  auto const source = absolute(from);
  auto const target = absolute(to);
  auto const sourceKey = FileTree::keyOf(source);
  auto const targetKey = FileTree::keyOf(target);
  auto const moved = operation.statusWithFolder(source, tree_.find(source));
  operation.require(moved.has_value(), ErrorCode::fileNotFound);
  auto const replaced = operation.statusWithFolder(target, tree_.find(target));
  operation.requireOwnWay(*this, path_grammar::parent(source));
  operation.requireOwnWay(*this, path_grammar::parent(target));
  operation.require(sourceKey.size() > 1 && targetKey.size() > 1, ErrorCode::accessDenied);
  operation.require(sourceKey.front() == targetKey.front(), ErrorCode::notSameDevice);
  bool const isSameEntry = sourceKey == targetKey;
  if (replaced && !isSameEntry) {
    operation.require(replaceExisting, ErrorCode::alreadyExists);
    operation.require(
        !moved->isDirectory && !replaced->isDirectory && !replaced->attributes.isReadOnly,
        ErrorCode::accessDenied);
  }
  operation.require(!isBelow(targetKey, sourceKey), ErrorCode::invalidParameter);
  tree_.put(target, tree_.take(source), replaced && !isSameEntry);
}

void OverlayFiles::setAttributes(std::u16string_view path, FileAttributes const& attributes) {
  Operation const operation("change the attributes of", path, tree_);
  auto const target = absolute(path);
  auto place = tree_.find(target);
  auto const status = operation.statusWithFolder(target, place);
  operation.require(status.has_value(), ErrorCode::fileNotFound);
  operation.require(!status->isDirectory && !status->isLink, ErrorCode::accessDenied);
  if (!place.node) {
    auto node = std::make_unique<Node>();
    node->inner = place.inner;
    tree_.put(target, std::move(node), true);
    place = tree_.find(target);
  }
  auto kept = attributes;
  if (kept.created == 0) kept.created = status->attributes.created;
  if (kept.written == 0) kept.written = status->attributes.written;
  place.node->attributes = kept;
}

std::optional<Link> OverlayFiles::link(std::u16string_view path) {
  auto const place = tree_.find(absolute(path));
  auto const status = tree_.status(place);
  return status && status->isLink ? inner_.link(innerOf(place)) : std::nullopt;
}

void OverlayFiles::createLink(std::u16string_view path, Link const&) {
  throw SystemError("make the link", path, ErrorCode::notSupported);
}

bool OverlayFiles::setCurrentDirectory(std::u16string_view path) {
  auto folder = absolute(path);
  auto const found = status(folder);
  if (!found || !found->isDirectory) return false;
  currentFolder_ = std::move(folder);
  return true;
}

std::optional<FileVersion> OverlayFiles::fileVersion(std::u16string_view path) {
  auto const place = tree_.find(absolute(path));
  if (place.node && place.node->content) return versionOf(*place.node->content, inner_);
  return innerOf(place).empty() ? std::nullopt : inner_.fileVersion(innerOf(place));
}

std::unique_ptr<FileLock> OverlayFiles::lock(std::u16string_view path,
                                             std::chrono::milliseconds limit) {
  Operation const operation("lock", path, tree_);
  auto const target = absolute(path);
  auto const status = operation.statusWithFolder(target, tree_.find(target));
  operation.require(!status || !status->isDirectory, ErrorCode::accessDenied);
  if (!status) openForWriting(target, WriteMode::append);
  auto result = locks_.acquire(FileTree::keyOf(target), limit);
  operation.require(result != nullptr, ErrorCode::timeout);
  return result;
}

std::optional<UString> OverlayFiles::innerFile(std::u16string_view path) {
  auto const place = tree_.find(absolute(path));
  bool const isWritten = place.node && place.node->content;
  return isWritten || innerOf(place).empty() ? std::nullopt : std::optional(innerOf(place));
}

}  // namespace machine::overlay
