#include "machine/simulated/simulated_environment.hpp"

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"

namespace machine::simulated {

namespace {

constexpr std::uint32_t variableNotFound = 203;  // ERROR_ENVVAR_NOT_FOUND

bool isValid(std::u16string_view text) {
  return text.find(u'\0') == std::u16string_view::npos && isWellFormed(text);
}

constexpr std::pair<char16_t const*, char16_t const*> variablesOfWindows[] = {
    {u"ALLUSERSPROFILE", u"C:\\ProgramData"},
    {u"APPDATA", u"C:\\Users\\User\\AppData\\Roaming"},
    {u"CommonProgramFiles", u"C:\\Program Files\\Common Files"},
    {u"ComSpec", u"C:\\Windows\\system32\\cmd.exe"},
    {u"LOCALAPPDATA", u"C:\\Users\\User\\AppData\\Local"},
    {u"OS", u"Windows_NT"},
    {u"Path", u"C:\\Windows\\system32;C:\\Windows;C:\\Windows\\System32\\Wbem"},
    {u"PATHEXT", u".COM;.EXE;.BAT;.CMD"},
    {u"ProgramData", u"C:\\ProgramData"},
    {u"ProgramFiles", u"C:\\Program Files"},
    {u"PUBLIC", u"C:\\Users\\Public"},
    {u"SystemDrive", u"C:"},
    {u"SystemRoot", u"C:\\Windows"},
    {u"TEMP", u"C:\\Users\\User\\AppData\\Local\\Temp"},
    {u"TMP", u"C:\\Users\\User\\AppData\\Local\\Temp"},
    {u"USERNAME", u"User"},
    {u"USERPROFILE", u"C:\\Users\\User"},
    {u"windir", u"C:\\Windows"},
};

}  // namespace

SimulatedEnvironment::SimulatedEnvironment() {
  for (auto const& [name, value] : variablesOfWindows) setVariable(name, value);
}

SimulatedEnvironment::SimulatedEnvironment(JsonValue const& document) {
  for (auto const& [name, value] : document.member("variables").members()) {
    if (variable(toUtf16(name))) value.refuse("is there twice, in different case");
    if (!setVariable(toUtf16(name), toUtf16(value.text())))
      value.refuse("is no environment variable");
  }
  broadcasts_ = document.member("settingChangeBroadcasts").number(UINT64_MAX);
  lastError_ = 0;
}

std::optional<UString> SimulatedEnvironment::variable(std::u16string_view name) {
  auto const found = variables_.find(foldCase(name));
  lastError_ = found == variables_.end() ? variableNotFound : 0;
  if (found == variables_.end()) return std::nullopt;
  return found->second.second;
}

bool SimulatedEnvironment::setVariable(std::u16string_view name, std::u16string_view value) {
  bool const accepted = !name.empty() && name.find(u'=') == std::u16string_view::npos &&
                        isValid(name) && isValid(value);
  lastError_ = accepted ? 0 : static_cast<std::uint32_t>(ErrorCode::invalidParameter);
  if (!accepted) return false;
  auto& [keptName, keptValue] = variables_[foldCase(name)];
  if (keptName.empty()) keptName = name;
  keptValue = value;
  return true;
}

bool SimulatedEnvironment::removeVariable(std::u16string_view name) {
  variables_.erase(foldCase(name));
  lastError_ = 0;
  return true;
}

std::intptr_t SimulatedEnvironment::broadcastSettingChange() {
  ++broadcasts_;
  lastError_ = 0;
  return 1;
}

nlohmann::json SimulatedEnvironment::toJson() const {
  auto variables = nlohmann::json::object();
  for (auto const& [folded, variable] : variables_)
    variables[toUtf8(variable.first)] = toUtf8(variable.second);
  return {{"variables", std::move(variables)}, {"settingChangeBroadcasts", broadcasts_}};
}

}  // namespace machine::simulated
