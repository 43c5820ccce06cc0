#include "machine/path_grammar.hpp"

#include <algorithm>

namespace machine::path_grammar {

namespace {

constexpr std::u16string_view verbatimPrefix = u"\\\\?\\";

constexpr bool isDriveLetter(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

constexpr bool startsWithDrive(std::u16string_view path) {
  return path.size() >= 2 && isDriveLetter(path[0]) && path[1] == u':';
}

constexpr bool startsWithTwoSeparators(std::u16string_view path) {
  return path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1]);
}

/// `\\.\...` and `//?/...`: a name in the device namespace, but with the usual rules for names.
constexpr bool startsWithDevice(std::u16string_view path) {
  return startsWithTwoSeparators(path) && path.size() >= 3 &&
         (path[2] == u'.' || path[2] == u'?') && (path.size() == 3 || isSeparator(path[3]));
}

/// Separators as they count in one path.
class Separators {
 public:
  explicit Separators(std::u16string_view path) : verbatim_(isVerbatim(path)) {}
  bool operator()(char16_t unit) const { return verbatim_ ? unit == u'\\' : isSeparator(unit); }

 private:
  bool verbatim_;
};

/// Steps through a path, name by name.
class Scanner {
 public:
  Scanner(std::u16string_view path, std::size_t at) : path_(path), separates_(path), at_(at) {}

  std::size_t at() const { return at_; }
  std::u16string_view name() {
    auto const start = at_;
    while (at_ < path_.size() && !separates_(path_[at_])) ++at_;
    return path_.substr(start, at_ - start);
  }
  void separator() {
    if (at_ < path_.size() && separates_(path_[at_])) ++at_;
  }
  void separators() {
    while (at_ < path_.size() && separates_(path_[at_])) ++at_;
  }

 private:
  std::u16string_view path_;
  Separators separates_;
  std::size_t at_;
};

/// The end of `srv\share\` from `start`.
std::size_t endOfShare(std::u16string_view path, std::size_t start) {
  Scanner scanner(path, start);
  scanner.name();
  scanner.separators();
  scanner.name();
  scanner.separator();
  return scanner.at();
}

/// The end of the root after `\\?\` or `\\.\`: `C:\`, `UNC\srv\share\`, `pipe\`.
std::size_t endOfDevice(std::u16string_view path) {
  Scanner scanner(path, std::min<std::size_t>(4, path.size()));
  auto const device = scanner.name();
  scanner.separator();
  if (equalIgnoringCase(device, u"UNC")) return endOfShare(path, scanner.at());
  return scanner.at();
}

std::u16string_view withoutTrailingDotsAndBlanks(std::u16string_view name) {
  auto const last = name.find_last_not_of(u". ");
  return name.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

/// The names after `\\?\` or the like; ".." may take back a device's name too where it counts.
std::vector<std::u16string_view> deviceNames(std::u16string_view path, bool isLiteral) {
  std::vector<std::u16string_view> names;
  Scanner scanner(path, std::min<std::size_t>(4, path.size()));
  for (scanner.separators(); scanner.at() < path.size(); scanner.separators()) {
    auto const name = scanner.name();
    if (isLiteral) {
      names.push_back(name);
    } else if (name == u"..") {
      if (!names.empty()) names.pop_back();
    } else if (auto const kept = withoutTrailingDotsAndBlanks(name); !kept.empty()) {
      names.push_back(kept);
    }
  }
  return names;
}

/// A drive or volume as a device's name.
bool isDrive(std::u16string_view name) {
  constexpr std::u16string_view volume = u"Volume{";
  return (name.size() == 2 && startsWithDrive(name)) ||
         equalIgnoringCase(name.substr(0, volume.size()), volume);
}

/// A root in the form the system gives it: "\" only, none doubled but the first two of a share.
UString nativeRoot(std::u16string_view root) {
  if (isVerbatim(root)) return UString(root);
  UString native;
  for (char16_t const unit : root) {
    bool const repeats = native.size() > 1 && native.back() == u'\\';
    if (!isSeparator(unit))
      native += unit;
    else if (!repeats)
      native += u'\\';
  }
  return native;
}

void appendName(UString& path, std::u16string_view name) {
  if (!path.empty() && path.back() != u'\\') path += u'\\';
  path += name;
}

bool sameDrive(std::u16string_view a, std::u16string_view b) {
  return startsWithDrive(a) && startsWithDrive(b) &&
         equalIgnoringCase(a.substr(0, 1), b.substr(0, 1));
}

/// An absolute path while names are added to and taken from it.
struct Resolved {
  UString root;
  std::vector<std::u16string_view> names;
};

/// Where the names of `path` are to be added.
Resolved startOf(std::u16string_view path, std::u16string_view currentFolder) {
  auto const root = path.substr(0, rootLength(path));
  if (isAbsolute(path)) return {nativeRoot(root), {}};
  if (startsWithDrive(path) && !sameDrive(path, currentFolder)) return {UString(root) + u'\\', {}};
  Resolved current{nativeRoot(currentFolder.substr(0, rootLength(currentFolder))), {}};
  if (root.empty() || startsWithDrive(path)) current.names = components(currentFolder);
  return current;
}

}  // namespace

std::size_t rootLength(std::u16string_view path) {
  if (isVerbatim(path) || startsWithDevice(path)) return endOfDevice(path);
  if (startsWithTwoSeparators(path)) return endOfShare(path, 2);
  if (startsWithDrive(path)) return path.size() > 2 && isSeparator(path[2]) ? 3 : 2;
  return !path.empty() && isSeparator(path[0]) ? 1 : 0;
}

bool isAbsolute(std::u16string_view path) {
  return startsWithTwoSeparators(path) ||
         (startsWithDrive(path) && path.size() > 2 && isSeparator(path[2]));
}

std::u16string_view reachedServer(std::u16string_view path) {
  // The system's own spelling of the prefix, which it takes from everybody.
  bool const isSystems = path.starts_with(u"\\??\\");
  if (!isSystems && !isVerbatim(path) && !startsWithDevice(path)) {
    if (!startsWithTwoSeparators(path)) return {};
    Scanner scanner(path, 0);
    scanner.separators();
    return scanner.name();
  }
  auto const names = deviceNames(path, isSystems || isVerbatim(path));
  if (names.empty() || isDrive(names[0])) return {};
  if (!equalIgnoringCase(names[0], u"UNC")) return path;
  return names.size() > 1 ? names[1] : std::u16string_view();
}

std::u16string_view foreignServer(std::u16string_view path, std::u16string_view home) {
  auto const server = reachedServer(path);
  return equalIgnoringCase(server, reachedServer(home)) ? std::u16string_view() : server;
}

bool isVerbatim(std::u16string_view path) {
  return path.starts_with(verbatimPrefix);
}

bool isTooLong(std::u16string_view path) {
  constexpr std::size_t prefix = std::u16string_view(u"\\\\?\\UNC").size();
  return path.size() + (isVerbatim(path) ? 0 : prefix) > longestPath;
}

std::vector<std::u16string_view> components(std::u16string_view path) {
  std::vector<std::u16string_view> names;
  Scanner scanner(path, rootLength(path));
  for (scanner.separators(); scanner.at() < path.size(); scanner.separators())
    names.push_back(scanner.name());
  return names;
}

bool isFileName(std::u16string_view name) {
  constexpr std::u16string_view reserved = u"<>:\"/\\|?*";
  return !name.empty() && name != u"." && name != u".." &&
         std::none_of(name.begin(), name.end(), [&](char16_t unit) {
           return unit < 0x20 || reserved.find(unit) != reserved.npos;
         });
}

UString toNative(std::u16string_view path) {
  UString native(path);
  if (!isVerbatim(path)) std::replace(native.begin(), native.end(), u'/', u'\\');
  return native;
}

UString join(std::u16string_view folder, std::u16string_view name) {
  if (folder.empty() || name.empty()) return UString(folder.empty() ? name : folder);
  Separators const separates(folder);
  while (!folder.empty() && separates(folder.back())) folder.remove_suffix(1);
  while (!name.empty() && isSeparator(name.front())) name.remove_prefix(1);
  return UString(folder).append(u"\\").append(name);
}

std::u16string_view fileName(std::u16string_view path) {
  Separators const separates(path);
  auto const root = rootLength(path);
  auto start = path.size();
  while (start > root && !separates(path[start - 1])) --start;
  return path.substr(start);
}

std::u16string_view parent(std::u16string_view path) {
  Separators const separates(path);
  auto const root = rootLength(path);
  auto end = path.size() - fileName(path).size();
  while (end > root && separates(path[end - 1])) --end;
  return path.substr(0, end);
}

UString absolute(std::u16string_view path, std::u16string_view currentFolder) {
  if (path.empty() || isVerbatim(path) || isTooLong(path)) return UString(path);
  auto [result, names] = startOf(path, currentFolder);
  for (auto const name : components(path)) {
    if (name == u"..") {
      if (!names.empty()) names.pop_back();
    } else if (auto const kept = withoutTrailingDotsAndBlanks(name); !kept.empty()) {
      names.push_back(kept);
    }
  }
  for (auto const name : names) appendName(result, name);
  return result;
}

}  // namespace machine::path_grammar
