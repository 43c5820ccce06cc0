#include "machine/simulated/host_tree.hpp"

#include <algorithm>
#include <optional>

#include "machine/host/host_file.hpp"
#include "machine/path_grammar.hpp"

namespace machine::simulated {

namespace fs = std::filesystem;

namespace {

Place unreachable(ErrorCode problem) {
  return {problem, {}, fs::file_status(fs::file_type::not_found), false};
}

/// `C:` or `C:\`.
bool isDrive(std::u16string_view root) {
  auto const letter = root.empty() ? UString() : foldCase(root.substr(0, 1));
  return (root.size() == 2 || root.size() == 3) && root[1] == u':' && letter[0] >= u'a' &&
         letter[0] <= u'z';
}

/// The names below the machine's directory that lead to the root of `path`; none for a path that
/// names neither a drive nor a share.
std::vector<UString> rootFolders(std::u16string_view path) {
  using namespace path_grammar;
  auto root = toNative(path.substr(0, rootLength(path)));
  bool const isDevice = root.starts_with(u"\\\\?\\") || root.starts_with(u"\\\\.\\");
  if (isDevice) root.erase(0, 4);
  bool const isShare =
      isDevice ? equalIgnoringCase(root.substr(0, 4), u"UNC\\") : root.starts_with(u"\\\\");
  if (!isShare)
    return isDrive(root) ? std::vector<UString>{root.substr(0, 1)} : std::vector<UString>{};
  auto const share = root.substr(isDevice ? 4 : 2);
  std::vector<UString> names{u"UNC"};
  for (auto const name : components(share)) names.emplace_back(name);
  return names.size() == 3 ? names : std::vector<UString>{};
}

/// The name in `folder` that equals `name` but for its case; the first in order when several do.
std::optional<fs::path> nameIgnoringCase(fs::path const& folder, std::u16string_view name) {
  std::optional<fs::path> best;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    auto const candidate = at->path().filename();
    if ((!best || candidate < *best) && equalIgnoringCase(fromHostName(candidate), name))
      best = candidate;
  }
  return best;
}

bool isInside(fs::path const& folder, fs::path const& path) {
  auto const [end, unused] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return end == folder.end();
}

bool isMissingFile(std::error_code const& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

}  // namespace

Place HostTree::find(std::u16string_view path) const {
  if (path_grammar::isTooLong(path)) return unreachable(ErrorCode::fileNameTooLong);
  auto const roots = rootFolders(path);
  if (roots.empty()) return unreachable(ErrorCode::pathNotFound);
  std::vector<std::u16string_view> names(roots.begin(), roots.end());
  for (auto const name : path_grammar::components(path)) names.push_back(name);
  std::lock_guard const lock(trail_.mutex);
  auto place = startOnTrail(names);
  bool isLinkFree = true;
  for (auto at = trail_.names.size(); at < names.size(); ++at) {
    isLinkFree = isLinkFree && !place.isLink();
    place = step(place, names[at]);
    if (isLinkFree && fs::is_directory(place.status)) {
      trail_.names.emplace_back(names[at]);
      trail_.folder = place.host;
    }
  }
  place.isRoot = names.size() == roots.size();
  return place;
}

/// The deepest folder of the trail that `names` lead through too, where it is a folder still; else
/// the machine's directory. The trail ends there then.
Place HostTree::startOnTrail(std::vector<std::u16string_view> const& names) const {
  auto const [end, unused] =
      std::mismatch(trail_.names.begin(), trail_.names.end(), names.begin(), names.end());
  auto const shared = static_cast<std::size_t>(end - trail_.names.begin());
  while (trail_.names.size() > shared) {
    trail_.names.pop_back();
    trail_.folder = trail_.folder.parent_path();
  }
  std::error_code error;
  if (!trail_.names.empty()) {
    auto const status = fs::symlink_status(trail_.folder, error);
    if (fs::is_directory(status)) return {ErrorCode::success, trail_.folder, status, false};
  }
  trail_.names.clear();
  trail_.folder = directory_;
  return {ErrorCode::success, directory_, fs::status(directory_, error), false};
}

Place HostTree::findTarget(std::u16string_view path) const {
  auto const place = find(path);
  return place.exists() && place.isLink() ? follow(place) : place;
}

UString HostTree::machineName(fs::path const& linkTarget) const {
  auto name = fromHostName(linkTarget);
  if (linkTarget.is_absolute()) {
    if (!isInside(directory_, linkTarget)) return name;
    auto const below = fromHostName(linkTarget.lexically_relative(directory_));
    if (below.find(u'/') > 1) return name;  // a drive's own folder, or a share
    name = below.substr(0, 1) + u':' + below.substr(1);
  }
  std::ranges::replace(name, u'/', u'\\');
  return name;
}

fs::path HostTree::hostName(std::u16string_view linkTarget) const {
  if (path_grammar::isAbsolute(linkTarget)) return find(linkTarget).host;
  UString name(linkTarget);
  std::ranges::replace(name, u'\\', u'/');
  return toHostName(name);
}

bool HostTree::sameVolume(std::u16string_view a, std::u16string_view b) const {
  auto const rootsOfA = rootFolders(a);
  auto const rootsOfB = rootFolders(b);
  return std::equal(rootsOfA.begin(), rootsOfA.end(), rootsOfB.begin(), rootsOfB.end(),
                    equalIgnoringCase);
}

Place HostTree::step(Place const& folder, std::u16string_view name) const {
  if (folder.problem != ErrorCode::success) return folder;
  if (!path_grammar::isFileName(name) || !isWellFormed(name))
    return unreachable(ErrorCode::invalidName);
  if (!folder.exists()) return unreachable(ErrorCode::pathNotFound);
  auto const parent = folder.isLink() ? follow(folder) : folder;
  if (parent.problem != ErrorCode::success)
    return unreachable(parent.problem == ErrorCode::fileNotFound ? ErrorCode::pathNotFound
                                                                 : parent.problem);
  if (!fs::is_directory(parent.status)) return unreachable(ErrorCode::pathNotFound);
  Place place{ErrorCode::success,
              parent.host / toHostName(name),
              {},
              false,
              folder.isBehindLink || folder.isLink()};
  std::error_code error;
  place.status = fs::symlink_status(place.host, error);
  if (!fs::exists(place.status) && (!error || isMissingFile(error))) {
    if (auto const other = nameIgnoringCase(parent.host, name)) {
      place.host = parent.host / *other;
      place.status = fs::symlink_status(place.host, error);
    }
  }
  if (error && !isMissingFile(error)) return unreachable(fromHost(error));
  return place;
}

Place HostTree::follow(Place const& link) const {
  std::error_code error;
  auto const directory = fs::canonical(directory_, error);
  auto const target = fs::canonical(link.host, error);
  if (error) return unreachable(fromHost(error));
  if (!isInside(directory, target)) return unreachable(ErrorCode::accessDenied);
  return {ErrorCode::success, target, fs::symlink_status(target, error), false, true};
}

bool isFolder(fs::path const& host, fs::file_status const& status) {
  std::error_code error;
  return fs::is_directory(status) || (fs::is_symlink(status) && fs::is_directory(host, error));
}

}  // namespace machine::simulated
