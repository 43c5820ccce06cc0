#include "tests/tools/regplan/sample_reports.hpp"

#include "machine/sha256.hpp"

namespace regplan::samples {
namespace {

using machine::Change;
using machine::Existing;
using machine::FileContent;
using machine::HandOver;
using machine::Item;
using machine::ItemState;
using machine::RegistryType;
using machine::RegistryValue;
using machine::UString;
using std::chrono::milliseconds;
using Kind = Item::Kind;

std::string sha256(std::string_view bytes) {
  machine::Sha256 hash;
  hash.add(bytes);
  return hash.finish();
}

FileContent file(std::string bytes) {
  FileContent content{bytes.size(), sha256(bytes), std::nullopt, false};
  content.bytes = std::move(bytes);
  return content;
}

FileContent largeFile(std::uint64_t size, std::string_view seed) {
  return {size, sha256(seed), std::nullopt, false};
}

Change changed(Kind kind, UString where, ItemState before, ItemState after, UString value = {}) {
  return {{kind, std::move(where), std::move(value)}, std::move(before), std::move(after)};
}

Message progress(std::string text) {
  return {std::move(text), false};
}

Message trouble(std::string text) {
  return {std::move(text), true};
}

std::string numberedLines(int count, int changedOne, std::string const& change) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    text += i == changedOne ? change : "toolbox/part" + std::to_string(i);
    text += "\n";
  }
  return text;
}

machine::Shortcut shortcut() {
  machine::Shortcut link;
  link.target = u"C:\\Program Files\\Vortan\\R1\\bin\\win64\\vortan.exe";
  link.workingFolder = u"C:\\Program Files\\Vortan\\R1\\bin\\win64";
  link.description = u"Vortan R1";
  return link;
}

machine::TaskDefinition task(bool enabled) {
  machine::TaskDefinition definition;
  definition.application = u"C:\\Program Files\\Vortan\\R1\\bin\\win64\\updater.exe";
  definition.arguments = u"--check";
  definition.description = u"Looks for updates";
  definition.author = u"Brantix";
  definition.enabled = enabled;
  return definition;
}

machine::ServiceCondition service(machine::ServiceState state) {
  machine::ServiceCondition condition;
  condition.definition.displayName = u"Brantix Service Host";
  condition.definition.description = u"Keeps the desktop services";
  condition.definition.commandLine = u"\"C:\\Program Files\\Brantix\\Host\\host.exe\" --service";
  condition.definition.recovery.actions = {
      {machine::ServiceRecovery::Kind::restart, milliseconds(5000)}};
  condition.definition.recovery.resetAfter = std::chrono::hours(24);
  condition.state = state;
  return condition;
}

CommandResult searchPathEntries() {
  CommandResult result{"AddVTPathEntriesToMetadataFile", Outcome::done, milliseconds(41)};
  result.messages = {progress("Adding path entries to metadata file"),
                     progress("Successfully added path entries to metadata file")};
  result.changes = {
      changed(Kind::file, u"C:\\Program Files\\Vortan\\R1\\ssiSearchFolders",
              file(numberedLines(24, 0, "")), file(numberedLines(24, 12, "toolbox/general"))),
      changed(Kind::file, u"C:\\Program Files\\Vortan\\R1\\cache.bin", largeFile(52'428'800, "a"),
              largeFile(52'430'102, "b"))};
  return result;
}

CommandResult registryKeys() {
  UString const key = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan";
  CommandResult result{"SetRegistryKeys", Outcome::done, milliseconds(6)};
  result.arguments = {{"registryKeys", "[{\"root\":\"HKEY_LOCAL_MACHINE\"}]"}};
  result.messages = {progress("Setting registry key " + machine::toUtf8(key) + "\\Version to 25.1"),
                     progress("Successfully set registry key")};
  result.changes = {
      changed(Kind::registryKey, u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix", {}, Existing{}),
      changed(Kind::registryKey, key, {}, Existing{}),
      changed(Kind::registryValue, key, {}, RegistryValue::ofText(u"25.1"), u"Version"),
      changed(Kind::registryValue, key, RegistryValue::ofDword(1), RegistryValue::ofDword(2),
              u"Level"),
      changed(Kind::registryValue, key + u"\\Old", RegistryValue::ofText(u"gone"), {}),
      changed(Kind::registryValue, key + u"\\Blob", {},
              RegistryValue{RegistryType::binary, std::string(100, '\x7F')}, u"data"),
  };
  return result;
}

CommandResult path() {
  UString const system = u"%SystemRoot%\\system32;%SystemRoot%;%SystemRoot%\\System32\\Wbem";
  CommandResult result{"UpdatePathEnvironmentVariable", Outcome::done, milliseconds(1012)};
  result.arguments = {{"pathEntry", "C:\\Program Files\\Vortan\\R1\\bin"},
                      {"productVersion", "25.1.0.1"},
                      {"executableName", "vortan.exe"}};
  result.messages = {progress("Updating path environment"),
                     progress("Successfully updated path env registry key")};
  result.changes = {changed(
      Kind::registryValue,
      u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
      RegistryValue::ofText(system, RegistryType::expandableString),
      RegistryValue::ofText(system + u";C:\\Program Files\\Vortan\\R1\\bin",
                            RegistryType::expandableString),
      u"Path")};
  return result;
}

CommandResult associations(Outcome outcome) {
  CommandResult result{"SetFileAssociations", outcome, milliseconds(233)};
  result.messages = {progress("Updating file associations at C:\\Program Files\\Vortan\\R1")};
  result.handOvers = {{HandOver::Kind::module, u"fileassoc.dll", u"SetAssociations"}};
  return result;
}

CommandResult shortcuts() {
  CommandResult result{"CreateDesktopShortcuts", Outcome::doneWithProblems, milliseconds(18)};
  result.messages = {progress("Creating desktop shortcut for vortan.exe"),
                     trouble("Unable to create desktop shortcut for helper.exe"),
                     trouble("write shortcut C:\\Users\\Public\\Desktop\\Helper.lnk: Access is "
                             "denied. (5)")};
  result.troubles = {{Trouble::Severity::error,
                      "Unable to create desktop shortcut for helper.exe: write shortcut "
                      "C:\\Users\\Public\\Desktop\\Helper.lnk: Access is denied. (5)",
                      "C:\\Users\\Public\\Desktop\\Helper.lnk", true},
                     {Trouble::Severity::warning, "tools\\helper.exe is not absolute",
                      "tools\\helper.exe", false}};
  auto before = shortcut();
  before.target = u"C:\\Program Files\\Vortan\\R0\\bin\\win64\\vortan.exe";
  result.changes = {
      changed(Kind::shortcut, u"C:\\Users\\Public\\Desktop\\Vortan R1.lnk", before, shortcut())};
  return result;
}

CommandResult startMenu() {
  CommandResult result{"CreateStartMenuShortcuts", Outcome::nothingToDo, milliseconds(0)};
  result.reason = "isStartMenuShortcutRequested is false";
  result.decidedBy = "isStartMenuShortcutRequested";
  return result;
}

CommandResult services() {
  CommandResult result{"BrantixServiceHostSetupCommand", Outcome::failed, milliseconds(30'004)};
  result.reason =
      "start service BrantixServiceHost: The service did not respond to the start "
      "request in a timely fashion. (1053)";
  result.messages = {progress("Installing the service host"),
                     progress("Starting the service host")};
  result.changes = {
      changed(Kind::folder, u"C:\\Program Files\\Brantix\\Host", {}, Existing{}),
      changed(Kind::service, u"BrantixServiceHost", {}, service(machine::ServiceState::stopped)),
      changed(Kind::task, u"Vortan\\Updater", task(true), task(false)),
      changed(Kind::variable, u"BRANTIX_HOST", {}, UString(u"C:\\Program Files\\Brantix\\Host"))};
  return result;
}

CommandResult settings(Outcome outcome) {
  CommandResult result{"LaunchFyroSettingsExecutable", outcome, milliseconds(380)};
  result.messages = {progress("Calling the settings tool")};
  result.handOvers = {{HandOver::Kind::program,
                       u"C:\\Program Files\\Vortan\\R1\\bin\\win64\\settings.exe",
                       u"-m \"C:\\Program Files\\Vortan\\R1\" -i 25.1 -s -c"}};
  return result;
}

Request request(Verb verb) {
  Request asked;
  asked.verb = verb;
  asked.file = "vortan-25.1.plan.json";
  asked.computer = "BUILD-07";
  asked.options = {{"rootPath", "C:\\Program Files\\Vortan\\R1"},
                   {"bundleRootPath", "C:\\Program Files\\Vortan\\R1"},
                   {"isDesktopShortcutRequested", "true"}};
  asked.started = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(8) +
                  std::chrono::minutes(30);
  return asked;
}

RunReport withDuration(RunReport report) {
  for (CommandResult const& result : report.commands) report.duration += result.duration;
  return report;
}

}  // namespace

RunReport failingRun() {
  RunReport report{request(Verb::run)};
  report.request.log = "C:\\ProgramData\\Vortan\\registration.log";
  report.request.journal = "C:\\ProgramData\\Vortan\\25.1.journal";
  report.commands = {searchPathEntries(),         registryKeys(), path(),
                     associations(Outcome::done), shortcuts(),    services(),
                     settings(Outcome::done),     startMenu()};
  return withDuration(std::move(report));
}

RunReport preview() {
  RunReport report{request(Verb::preview)};
  report.commands = {searchPathEntries(), registryKeys(), path(), associations(Outcome::handsOver),
                     settings(Outcome::handsOver)};
  return withDuration(std::move(report));
}

RunReport hostileRun() {
  std::string const element = "<script>document.title='owned'</script>";
  std::string const image = "\"><img src=x onerror=\"document.title='owned'\">";
  UString const element16 = machine::toUtf16(element);
  UString const odd = UString(u"a\u202Egnp.exe\u2066\u200B") + UString(1, char16_t(0xD800)) +
                      u"\x1b[2J\n\0" + machine::toUtf16(image);
  UString const long16 = UString(u"C:\\") + UString(3000, u'w');
  RunReport report{request(Verb::run)};
  report.request.file = "</title>" + element + image + "{{style}}";
  report.request.machine = "m" + image;
  report.request.log = element;
  report.request.options = {{element, image}, {"long", std::string(5000, 'x')}};

  CommandResult failed{"Bad<b>Name</b>" + image, Outcome::failed, milliseconds(1)};
  failed.reason = "-->" + element + "\x1B[2J\xFF";
  failed.messages = {trouble("Unable to " + element), progress("\xE2\x80\xAEright to left")};
  failed.arguments = {{"argument" + image, element}};
  failed.handOvers = {{HandOver::Kind::program, odd, element16}};
  failed.changes = {
      changed(Kind::file, odd, file("safe\n" + element + "\n"), file("safe\n" + image + "\r\nb\n")),
      changed(Kind::file, long16, {}, file("\xFF\xFE<\0/\0s\0t\0y\0l\0e\0>\0")),
      changed(Kind::registryKey, u"HKEY_USERS\\" + element16 + u"\\" + odd, {}, Existing{}),
      changed(Kind::registryValue, u"HKEY_USERS\\" + element16, RegistryValue::ofText(odd),
              RegistryValue::ofText(element16 + u";" + odd), machine::toUtf16(image)),
      changed(Kind::variable, element16, odd, element16 + u";" + element16),
      changed(Kind::task, element16, {}, task(true)),
      changed(Kind::service, odd, service(machine::ServiceState::running), {}),
  };
  report.commands = {std::move(failed)};
  return withDuration(std::move(report));
}

RunReport restore() {
  using Result = RestoredItem::Outcome;
  RunReport report{request(Verb::restore)};
  report.request.file = "25.1.journal";
  report.request.options.clear();
  UString const key = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan";
  report.items = {
      {{Kind::registryValue, key, u"Version"}, Result::restored},
      {{Kind::registryKey, key, {}}, Result::restored},
      {{Kind::file, u"C:\\Program Files\\Vortan\\R1\\ssiSearchFolders", {}}, Result::left},
      {{Kind::task, u"Vortan\\Updater", {}}, Result::already},
      {{Kind::shortcut, u"C:\\Users\\Public\\Desktop\\Vortan R1.lnk", {}}, Result::forced},
      {{Kind::folder, u"C:\\Program Files\\Brantix\\Host", {}},
       Result::notRestorable,
       "it holds files that the journal does not know"},
      {{Kind::service, u"BrantixServiceHost", {}},
       Result::failed,
       "remove service BrantixServiceHost: Access is denied. (5)"}};
  report.items[0].change =
      changed(Kind::registryValue, key, RegistryValue::ofText(u"25.1"), {}, u"Version");
  report.damage = "line 12, at byte 4711: torn";
  report.handOvers = settings(Outcome::done).handOvers;
  report.duration = milliseconds(212);
  return report;
}

}  // namespace regplan::samples
