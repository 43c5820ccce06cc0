#include "machine/simulated/simulated_shell.hpp"

#include <array>
#include <utility>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/json/document.hpp"
#include "machine/whole_file.hpp"

namespace machine::simulated {

namespace {

using Json = nlohmann::json;

constexpr std::size_t largestShortcut = 1 << 20;
constexpr std::size_t deepestNesting = 4;
constexpr int formatVersion = 1;

constexpr std::array<std::pair<WindowState, char const*>, 3> windowNames{{
    {WindowState::normal, "normal"},
    {WindowState::maximized, "maximized"},
    {WindowState::minimized, "minimized"},
}};

Json windowToJson(WindowState window) {
  for (auto const& [state, name] : windowNames)
    if (state == window) return name;
  return "normal";
}

WindowState windowFrom(std::string const& text) {
  for (auto const& [state, name] : windowNames)
    if (text == name) return state;
  throw std::runtime_error("no state of a window");
}

std::string toText(Shortcut const& shortcut) {
  bool const hasIcon = !shortcut.iconFile.empty();
  return Json{{"version", formatVersion},
              {"target", toUtf8(shortcut.target)},
              {"arguments", toUtf8(shortcut.arguments)},
              {"workingFolder", toUtf8(shortcut.workingFolder)},
              {"description", toUtf8(shortcut.description)},
              {"iconFile", toUtf8(shortcut.iconFile)},
              {"iconIndex", hasIcon ? shortcut.iconIndex : 0},
              {"window", windowToJson(shortcut.window)},
              {"runAsAdministrator", shortcut.runAsAdministrator},
              {"neverSearchForTarget", shortcut.neverSearchForTarget}}
             .dump(2) +
         "\n";
}

/// Throws a std::exception for a text that toText did not write.
Shortcut fromText(std::string const& text) {
  auto const document = machine::json::parse({}, text, deepestNesting);
  if (document.at("version") != formatVersion) throw std::runtime_error("another version");
  auto const textOf = [&](char const* name) {
    return toUtf16(document.at(name).get<std::string>());
  };
  Shortcut shortcut;
  shortcut.target = textOf("target");
  shortcut.arguments = textOf("arguments");
  shortcut.workingFolder = textOf("workingFolder");
  shortcut.description = textOf("description");
  shortcut.iconFile = textOf("iconFile");
  shortcut.iconIndex = document.at("iconIndex").get<std::int32_t>();
  shortcut.window = windowFrom(document.at("window").get<std::string>());
  shortcut.runAsAdministrator = document.at("runAsAdministrator").get<bool>();
  shortcut.neverSearchForTarget = document.at("neverSearchForTarget").get<bool>();
  return shortcut;
}

bool isWellFormedShortcut(Shortcut const& shortcut) {
  return isWellFormed(shortcut.target) && isWellFormed(shortcut.arguments) &&
         isWellFormed(shortcut.workingFolder) && isWellFormed(shortcut.description) &&
         isWellFormed(shortcut.iconFile);
}

}  // namespace

void SimulatedShell::readJson(JsonValue const& document) {
  announcements_ = document.member("associationChangeAnnouncements").number(UINT64_MAX);
}

nlohmann::json SimulatedShell::toJson() const {
  return {{"associationChangeAnnouncements", announcements_}};
}

void SimulatedShell::writeShortcut(std::u16string_view path, Shortcut const& shortcut) {
  requireStorable(path, shortcut);
  if (!isWellFormedShortcut(shortcut))
    throw SystemError("write the shortcut", path, ErrorCode::invalidParameter);
  replaceFile(files_, path, toText(shortcut));
}

std::optional<Shortcut> SimulatedShell::readShortcut(std::u16string_view path) {
  auto const text = readFile(files_, path, largestShortcut);
  if (!text) return std::nullopt;
  try {
    return fromText(*text);
  } catch (std::exception const&) {
    throw SystemError("read the shortcut", path, ErrorCode::invalidData);
  }
}

UString SimulatedShell::knownFolder(KnownFolder folder) {
  switch (folder) {
    case KnownFolder::desktop:
      return u"C:\\Users\\User\\Desktop";
    case KnownFolder::startMenu:
      return u"C:\\Users\\User\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs";
    case KnownFolder::publicDesktop:
      return u"C:\\Users\\Public\\Desktop";
    case KnownFolder::commonStartMenu:
      return u"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs";
    case KnownFolder::programData:
      return u"C:\\ProgramData";
    case KnownFolder::system:
      return u"C:\\Windows\\System32";
  }
  throw SystemError("find the known folder", u"", ErrorCode::fileNotFound);
}

}  // namespace machine::simulated
