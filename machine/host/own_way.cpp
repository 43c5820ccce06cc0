#include "machine/host/own_way.hpp"

#include "machine/host/reach_folder.hpp"
#include "machine/path_grammar.hpp"

namespace machine {

namespace {

namespace grammar = path_grammar;

/// For reachFolder.
class NamedFiles {
 public:
  using Path = UString;
  using Handle = UString;  ///< the path, without links
  using Folder = host::ReachedFolder<Handle>;
  struct Entry {
    Handle handle;
    std::string name;
    bool isLink = false;
    ForeignAccess access{};
  };

  explicit NamedFiles(Files& files) : files_(files) {}

  static std::vector<Path> names(Path const& path) {
    auto const components = grammar::components(path);
    return {components.begin(), components.end()};
  }

  Folder root(Path const& path) const {
    auto const root = path.substr(0, grammar::rootLength(path));
    return {root, toUtf8(root), accessTo(root), {}};
  }

  Entry open(Folder const& folder, Path const& name) const {
    auto const path = grammar::join(folder.handle, name);
    auto const status = files_.status(path);
    return {path, toUtf8(path), status && status->isLink, accessTo(path)};
  }

  Path target(Folder const& folder, Path const& name) const {
    auto const path = grammar::join(folder.handle, name);
    auto const link = files_.link(path);
    if (!link) throw UntrustedPath(toUtf8(path) + " is a link of a kind that is not known");
    return grammar::absolute(link->target, folder.handle);
  }

  static Path joined(Path const& folder, Path const& name) { return grammar::join(folder, name); }

  [[noreturn]] static void failTooManyLinks(Path const& path) {
    throw UntrustedPath(toUtf8(path) + " leads through too many links");
  }

 private:
  ForeignAccess accessTo(Path const& path) const {
    return files_.status(path) ? files_.foreignAccess(path) : ForeignAccess();
  }

  Files& files_;
};

bool leadsThroughLink(Files& files, std::u16string_view path) {
  auto const rootLength = grammar::rootLength(path);
  for (auto entry = path; entry.size() > rootLength; entry = grammar::parent(entry)) {
    auto const status = files.status(entry);
    if (status && status->isLink) return true;
  }
  return false;
}

}  // namespace

void requireOwnWay(Files& files, std::u16string_view path) {
  if (!leadsThroughLink(files, path)) return;
  NamedFiles named(files);
  host::reachFolder(named, UString(path));
}

}  // namespace machine
