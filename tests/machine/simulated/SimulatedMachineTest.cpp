#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>

#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::simulated {

namespace fs = std::filesystem;
using nlohmann::json;

class SimulatedMachineTest : public testing::Test {
 protected:
  fs::path const& directory() const { return directory_.path(); }

  std::string content(fs::path const& name) const {
    std::ifstream file(directory() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void put(fs::path const& name, std::string_view bytes) const {
    std::ofstream(directory() / name, std::ios::binary) << bytes;
  }
  /// The message of the exception that opening the machine throws.
  std::string refusal() const {
    try {
      SimulatedMachine const machine(directory());
      return "";
    } catch (std::runtime_error const& error) {
      return error.what();
    }
  }

 private:
  tests::TemporaryFolder directory_;
};

namespace {

RegistryKey const software{RegistryRoot::localMachine, u"SOFTWARE\\Test"};

void writeFile(Machine& machine, std::u16string_view path, std::string_view bytes = "") {
  machine.files().openForWriting(path, WriteMode::truncate)->write(bytes);
}

ProcessStart launch(UString program, std::vector<UString> arguments = {}) {
  ProcessStart start;
  start.program = std::move(program);
  start.arguments = std::move(arguments);
  return start;
}

ErrorCode errorOf(std::function<void()> const& call) {
  try {
    call();
    return ErrorCode::success;
  } catch (SystemError const& error) {
    return static_cast<ErrorCode>(error.code());
  }
}

}  // namespace

TEST_F(SimulatedMachineTest, ANewMachineStartsLikeAWindows) {
  SimulatedMachine machine(directory() / "made" / "when missing");
  for (auto const folder :
       {KnownFolder::desktop, KnownFolder::startMenu, KnownFolder::publicDesktop,
        KnownFolder::commonStartMenu, KnownFolder::programData, KnownFolder::system})
    EXPECT_TRUE(machine.files().status(machine.shell().knownFolder(folder)));
  EXPECT_EQ(machine.environment().variable(u"SYSTEMROOT"), u"C:\\Windows");
  EXPECT_EQ(machine.files().currentDirectory(), u"C:\\");
}

TEST_F(SimulatedMachineTest, ADeepTreeIsMadeAndFoundLevelByLevel) {
  if (fs::path::preferred_separator != '/') GTEST_SKIP() << "a host that keeps paths short";
  SimulatedMachine machine(directory());
  constexpr int depth = 800;
  UString path = u"C:\\a";
  machine.files().createDirectory(path);
  for (int level = 0; level < depth; ++level) machine.files().createDirectory(path += u"\\d");
  path = u"C:\\a";
  for (int level = 0; level < depth; ++level, path += u"\\d") {
    DirectoryEntry entry;
    auto const names = machine.files().openDirectory(path);
    ASSERT_TRUE(names->next(entry)) << level;
    ASSERT_EQ(entry.name, u"d");
  }
}

TEST_F(SimulatedMachineTest, AFolderThatWasTakenAwayMeanwhileIsNotFoundFromMemory) {
  SimulatedMachine machine(directory());
  Files& files = machine.files();
  for (auto const* folder : {u"C:\\a", u"C:\\a\\b", u"C:\\a\\b\\c", u"C:\\other"})
    files.createDirectory(folder);
  ASSERT_TRUE(files.status(u"C:\\a\\b\\c"));
  files.rename(u"C:\\a\\b", u"C:\\moved", false);
  EXPECT_FALSE(files.status(u"C:\\a\\b\\c"));
  EXPECT_TRUE(files.status(u"C:\\moved\\c"));
  fs::remove_all(directory() / "C" / "moved");
  EXPECT_FALSE(files.status(u"C:\\moved\\c"));
  EXPECT_TRUE(files.status(u"C:\\OTHER"));
  EXPECT_FALSE(files.status(u"C:\\other\\b\\c"));
#if !defined(_WIN32)
  fs::create_directory_symlink(directory(), directory() / "C" / "moved");
  EXPECT_TRUE(files.status(u"C:\\moved")->isLink);
#endif
}

TEST_F(SimulatedMachineTest, FoldersTakenFromAMachineStayAway) {
  { SimulatedMachine(directory()).files().removeDirectory(u"C:\\Users\\Public\\Desktop"); }
  EXPECT_FALSE(SimulatedMachine(directory()).files().status(u"C:\\Users\\Public\\Desktop"));
}

TEST_F(SimulatedMachineTest, EverythingIsThereAgainWhenOpenedAnew) {
  RegistryValue const odd{RegistryType::string, std::string("a\0b", 3)};
  {
    SimulatedMachine machine(directory());
    machine.registry().setValue(software, u"Odd", odd);
    machine.registry().createKey({RegistryRoot::users, u"Empty Key"});
    machine.environment().setVariable(u"New", u"value");
    machine.environment().broadcastSettingChange();
    writeFile(machine, u"C:\\tool.exe");
    machine.processes().start(launch(u"C:\\tool.exe", {u"a b", u""}));
  }
  SimulatedMachine machine(directory());
  EXPECT_EQ(machine.registry().value(software, u"odd"), odd);
  EXPECT_TRUE(machine.registry().keyExists({RegistryRoot::users, u"Empty Key"}));
  EXPECT_EQ(machine.environment().variable(u"NEW"), u"value");
  EXPECT_TRUE(machine.files().status(u"C:\\tool.exe"));
  EXPECT_EQ(json::parse(content("environment.json"))["settingChangeBroadcasts"], 1);
  EXPECT_EQ(json::parse(content("processes.json"))["launched"].size(), 1u);
}

TEST_F(SimulatedMachineTest, AShortcutIsReadable) {
  SimulatedMachine machine(directory());
  Shortcut shortcut;
  shortcut.target = u"C:\\\u00E4\\tool.exe";
  shortcut.iconFile = u"C:\\x.ico";
  shortcut.iconIndex = -2;
  shortcut.window = WindowState::minimized;
  shortcut.runAsAdministrator = true;
  machine.shell().writeShortcut(u"C:\\tool.lnk", shortcut);
  EXPECT_EQ(json::parse(content("C/tool.lnk")),
            json::parse(R"({"version": 1, "target": "C:\\ä\\tool.exe", "arguments": "",
              "workingFolder": "", "description": "", "iconFile": "C:\\x.ico", "iconIndex": -2,
              "window": "minimized", "runAsAdministrator": true, "neverSearchForTarget": false})"));
}

TEST_F(SimulatedMachineTest, AShortcutWithIllFormedTextIsRefused) {
  SimulatedMachine machine(directory());
  Shortcut shortcut;
  shortcut.target = u"C:\\tool.exe";
  shortcut.arguments = UString(1, u'\xD800');
  EXPECT_EQ(errorOf([&] { machine.shell().writeShortcut(u"C:\\tool.lnk", shortcut); }),
            ErrorCode::invalidParameter);
  EXPECT_FALSE(fs::exists(directory() / "C" / "tool.lnk"));
}

TEST_F(SimulatedMachineTest, AnnouncementsOfAssociationsAreCounted) {
  SimulatedMachine(directory()).shell().announceAssociationsChanged();
  {
    SimulatedMachine machine(directory());
    machine.shell().announceAssociationsChanged();
  }
  EXPECT_EQ(json::parse(content("shell.json"))["associationChangeAnnouncements"], 2);
}

TEST_F(SimulatedMachineTest, ADamagedShellFileIsRefused) {
  put("shell.json", R"({"version": 1})");
  EXPECT_NE(refusal().find("shell.json"), std::string::npos) << refusal();
}

TEST_F(SimulatedMachineTest, SavingAgainChangesNoByte) {
  SimulatedMachine machine(directory());
  machine.registry().setValue(software, u"b", RegistryValue::ofDword(1));
  machine.registry().setValue(software, u"A", RegistryValue::ofText(u"text"));
  machine.save();
  auto const before = content("registry.json") + content("environment.json");
  { SimulatedMachine const same(directory()); }
  EXPECT_EQ(content("registry.json") + content("environment.json"), before);
  EXPECT_FALSE(fs::exists(directory() / "registry.json.tmp"));
}

TEST_F(SimulatedMachineTest, RegistryValuesAreReadable) {
  using namespace std::string_literals;
  SimulatedMachine machine(directory());
  auto& registry = machine.registry();
  registry.setValue(software, u"text", RegistryValue::ofText(u"\u00E4"));
  registry.setValue(software, u"number", RegistryValue::ofDword(7));
  registry.setValue(software, u"large", {RegistryType::qword, std::string(8, '\xFF')});
  registry.setValue(software, u"list", {RegistryType::multiString, "a\0\0\0b\0\0\0\0\0"s});
  registry.setValue(software, u"bytes", {RegistryType::binary, "\0\xFF"s});
  registry.setValue(software, u"own type", {static_cast<RegistryType>(4242), ""s});
  machine.save();
  auto const document = json::parse(content("registry.json"));
  EXPECT_EQ(document["version"], 1);
  EXPECT_EQ(document["keys"]["HKEY_LOCAL_MACHINE\\SOFTWARE\\Test"], json::parse(R"({
    "text": {"type": "REG_SZ", "data": "ä"},
    "number": {"type": "REG_DWORD", "data": 7},
    "large": {"type": "REG_QWORD", "data": 18446744073709551615},
    "list": {"type": "REG_MULTI_SZ", "data": ["a", "b"]},
    "bytes": {"type": "REG_BINARY", "hex": "00ff"},
    "own type": {"type": 4242, "hex": ""}})"));
}

TEST_F(SimulatedMachineTest, DamagedJsonIsRefusedAndKept) {
  { SimulatedMachine const machine(directory()); }
  put("registry.json", "{ \"version\": 1, ");
  auto const message = refusal();
  EXPECT_NE(message.find("registry.json"), std::string::npos) << message;
  EXPECT_NE(message.find("registry.json:1:17: not JSON"), std::string::npos) << message;
  EXPECT_EQ(content("registry.json"), "{ \"version\": 1, ");
}

TEST_F(SimulatedMachineTest, AnotherVersionIsRefused) {
  put("environment.json", R"({"version": 2, "variables": {}})");
  EXPECT_NE(refusal().find("environment.json: /version: version 2"), std::string::npos)
      << refusal();
  EXPECT_FALSE(fs::exists(directory() / "registry.json"));
  EXPECT_FALSE(fs::exists(directory() / "C"));
}

TEST_F(SimulatedMachineTest, AWrongRegistryValueIsRefusedWithItsPlace) {
  for (auto const* value :
       {R"({"type": "REG_SZ", "data": 1})", R"({"type": "REG_DWORD", "data": 4294967296})",
        R"({"type": "REG_NEW", "data": ""})", R"({"type": "REG_SZ"})", R"("text")",
        R"({"type": "REG_BINARY", "hex": "0g"})", R"({"type": "REG_BINARY", "hex": "0"})",
        R"({"type": "REG_DWORD", "data": -1})", R"({"type": "REG_MULTI_SZ", "data": [1]})"}) {
    put("registry.json",
        std::string(R"({"version": 1, "keys": {"HKEY_USERS\\a": {"n": )") + value + "}}}");
    EXPECT_NE(refusal().find("registry.json: /keys/HKEY_USERS\\a/n"), std::string::npos)
        << value << ": " << refusal();
  }
}

TEST_F(SimulatedMachineTest, AnUnknownRootOrAKeyThatIsNoObjectIsRefused) {
  put("registry.json", R"({"version": 1, "keys": {"HKLM\\a": {}}})");
  EXPECT_NE(refusal().find("HKLM"), std::string::npos);
  put("registry.json", R"({"version": 1, "keys": []})");
  EXPECT_NE(refusal().find("/keys: must be an object"), std::string::npos);
  put("registry.json", R"([])");
  EXPECT_NE(refusal().find("the document: must be an object"), std::string::npos);
}

TEST_F(SimulatedMachineTest, LaunchesAreRecordedInOrder) {
  SimulatedMachine machine(directory());
  writeFile(machine, u"C:\\tool.exe");
  auto start = launch(u"C:\\tool.exe", {u"-i", u"a \"b\" \u65E5", u""});
  start.noWindow = true;
  start.standardError.kind = ProcessOutput::Kind::mergeWithOutput;
  machine.processes().start(start);
  start = launch(u"C:\\TOOL.exe");
  start.detached = true;
  machine.processes().start(start);
  machine.save();
  auto const launched = json::parse(content("processes.json"))["launched"];
  ASSERT_EQ(launched.size(), 2u);
  EXPECT_EQ(launched[0], json::parse(R"({"program": "C:\\tool.exe",
    "arguments": ["-i", "a \"b\" 日", ""], "noWindow": true, "detached": false,
    "standardOutput": {"kind": "inherit"}, "standardError": {"kind": "mergeWithOutput"}})"));
  EXPECT_EQ(launched[1]["detached"], true);
}

TEST_F(SimulatedMachineTest, AProgramThatIsMissingIsNotRecorded) {
  SimulatedMachine machine(directory());
  EXPECT_EQ(errorOf([&] { machine.processes().start(launch(u"C:\\none.exe")); }),
            ErrorCode::fileNotFound);
  machine.save();
  EXPECT_TRUE(json::parse(content("processes.json"))["launched"].empty());
}

TEST_F(SimulatedMachineTest, ExitCodesAreSetForAPathOrForAName) {
  put("processes-exit-codes.json",
      R"({"version": 1, "exitCodes": {"c:\\windows\\one.exe": 1, "two.exe": 4294967295}})");
  SimulatedMachine machine(directory());
  machine.setExitCode(u"three.exe", 3);
  auto const exitCode = [&](UString const& program) {
    writeFile(machine, program);
    return machine.processes().start(launch(program))->wait();
  };
  EXPECT_EQ(exitCode(u"C:\\Windows\\one.exe"), 1u);
  EXPECT_EQ(exitCode(u"C:\\one.exe"), 0u);
  EXPECT_EQ(exitCode(u"C:\\TWO.exe"), 4294967295u);
  EXPECT_EQ(exitCode(u"C:\\three.exe"), 3u);
}

TEST_F(SimulatedMachineTest, APipeGetsNothingAndNeedsAReader) {
  SimulatedMachine machine(directory());
  writeFile(machine, u"C:\\tool.exe");
  auto start = launch(u"C:\\tool.exe");
  start.standardOutput.kind = ProcessOutput::Kind::pipe;
  EXPECT_THROW(machine.processes().start(start), std::invalid_argument);
  start.standardOutput.reader = [](std::string_view) { FAIL(); };
  EXPECT_EQ(machine.processes().start(start)->wait(), 0u);
}

TEST_F(SimulatedMachineTest, WhatTheShellOpensIsRecordedInOrder) {
  {
    SimulatedMachine machine(directory());
    writeFile(machine, u"C:\\tool.exe");
    EXPECT_TRUE(machine.processes().shellExecute(u"C:\\tool.exe", u"/s \"C:\\a b.dll\""));
  }
  SimulatedMachine machine(directory());
  EXPECT_TRUE(machine.processes().shellExecute(u"C:\\TOOL.exe", u"\u65E5"));
  EXPECT_FALSE(machine.processes().shellExecute(u"C:\\none.exe", u""));
  EXPECT_FALSE(machine.processes().shellExecute(u"C:\\Windows", u""));
  machine.save();
  EXPECT_EQ(json::parse(content("processes.json"))["shellExecuted"],
            json::parse(R"([{"program": "C:\\tool.exe", "parameters": "/s \"C:\\a b.dll\""},
                            {"program": "C:\\TOOL.exe", "parameters": "日"}])"));
}

TEST_F(SimulatedMachineTest, ProcessesOfBeforeTheShellOpenedAnyAreTaken) {
  put("processes.json", R"({"version": 1, "launched": []})");
  {
    SimulatedMachine machine(directory());
    writeFile(machine, u"C:\\a.txt", "");
    EXPECT_TRUE(machine.processes().shellExecute(u"C:\\a.txt", u""));
  }
  EXPECT_EQ(json::parse(content("processes.json"))["shellExecuted"].size(), 1u);
}

TEST_F(SimulatedMachineTest, CallsIntoModulesAreRecordedInOrder) {
  UString const server = u"C:\\Windows\\server.dll";
  {
    SimulatedMachine machine(directory());
    writeFile(machine, u"C:\\Windows\\server.dll", std::string_view("MZ\0One\0Two\0", 11));
    machine.files().setCurrentDirectory(u"C:\\Windows");
    EXPECT_EQ(machine.modules().callEntryPoint(u"server.dll", server, "Two",
                                               {"a\xFF", "", "\xE6\x97\xA5"}),
              ModuleCall::called);
    EXPECT_EQ(machine.modules().callEntryPoint(u"server.dll", server, "MZ", {}),
              ModuleCall::called);
  }
  SimulatedMachine machine(directory());
  EXPECT_EQ(machine.modules().callEntryPoint(u"server.dll", server, "Two", {}),
            ModuleCall::notLoaded);
  EXPECT_EQ(machine.modules().callEntryPoint(u"C:\\windows\\server", server, "T", {}),
            ModuleCall::noEntryPoint);
  EXPECT_EQ(machine.modules().callEntryPoint(u"C:\\windows\\server", server, "One",
                                             {std::string("a\0b", 3), "", ""}),
            ModuleCall::called);
  machine.save();
  EXPECT_EQ(json::parse(content("modules.json")), json::parse(R"({"version": 1, "calls": [
        {"module": "C:\\Windows\\server.dll", "entryPoint": "Two", "arguments": ["a\ufffd", "", "日"]},
        {"module": "C:\\Windows\\server.dll", "entryPoint": "MZ", "arguments": ["", "", ""]},
        {"module": "C:\\windows\\server.dll", "entryPoint": "One", "arguments": ["a", "", ""]}],
        "bundles": []})"));
}

TEST_F(SimulatedMachineTest, AnEntryPointIsFoundWhereverItsNameLies) {
  SimulatedMachine machine(directory());
  constexpr std::size_t part = 65536;  // of the file, read at a time
  for (std::size_t at = part - 12; at < part + 4; ++at) {
    for (std::string const& end : {std::string(), std::string(1, '\0'), std::string("\n")}) {
      writeFile(machine, u"C:\\m.dll", std::string(at - 1, 'x') + "\nEntryPoint" + end);
      EXPECT_EQ(machine.modules().callEntryPoint(u"C:\\m.dll", u"C:\\m.dll", "EntryPoint", {}),
                ModuleCall::called)
          << at;
    }
    writeFile(machine, u"C:\\m.dll", std::string(at - 1, 'x') + "\nEntryPointX");
    EXPECT_EQ(machine.modules().callEntryPoint(u"C:\\m.dll", u"C:\\m.dll", "EntryPoint", {}),
              ModuleCall::noEntryPoint);
    writeFile(machine, u"C:\\m.dll", std::string(at, 'x') + "EntryPoint");
    EXPECT_EQ(machine.modules().callEntryPoint(u"C:\\m.dll", u"C:\\m.dll", "EntryPoint", {}),
              ModuleCall::noEntryPoint);
  }
}

TEST_F(SimulatedMachineTest, AModuleOfTheSystemFolderIsFoundBeforeTheCurrentFolders) {
  SimulatedMachine machine(directory());
  machine.files().createDirectory(u"C:\\a");
  writeFile(machine, u"C:\\a\\server.dll", "Entry");
  machine.files().setCurrentDirectory(u"C:\\a");
  auto const call = [&] {
    return machine.modules().callEntryPoint(u"server.dll", u"C:\\a\\server.dll", "Entry", {});
  };
  EXPECT_EQ(call(), ModuleCall::called);
  writeFile(machine, u"C:\\Windows\\System32\\server.dll", "Entry");
  EXPECT_THROW(call(), machine::OtherModule);
  machine.save();
  EXPECT_EQ(json::parse(content("modules.json"))["calls"].size(), 1u);
}

TEST_F(SimulatedMachineTest, BundlesAreRecordedAndNotAdmitted) {
  {
    SimulatedMachine machine(directory());
    EXPECT_FALSE(machine.modules().admitBundles(u"C:\\b\u00e4", {u"C:\\b\u00e4\\x.dll"}));
  }
  SimulatedMachine machine(directory());
  EXPECT_FALSE(machine.modules().admitBundles(u"C:\\empty", {}));
  machine.save();
  EXPECT_EQ(json::parse(content("modules.json"))["bundles"],
            json::parse(R"([{"folder": "C:\\bä", "modules": ["C:\\bä\\x.dll"]},
                            {"folder": "C:\\empty", "modules": []}])"));
}

TEST_F(SimulatedMachineTest, AWrongRecordOfAProgramOrModuleIsRefusedWithItsPlace) {
  put("modules.json", R"({"version": 1, "calls": [{"module": "a", "entryPoint": 1}]})");
  EXPECT_NE(refusal().find("modules.json: /calls/0/entryPoint"), std::string::npos) << refusal();
  put("modules.json", R"({"version": 1, "calls": [], "bundles": [{"folder": "a", "modules": 1}]})");
  EXPECT_NE(refusal().find("modules.json: /bundles/0/modules"), std::string::npos) << refusal();
  put("modules.json", R"({"version": 1, "calls": []})");
  put("processes.json", R"({"version": 1, "launched": [], "shellExecuted": [{"program": "a"}]})");
  EXPECT_NE(refusal().find("processes.json: /shellExecuted/0"), std::string::npos) << refusal();
}

TEST_F(SimulatedMachineTest, NoPathLeadsOutOfTheDirectory) {
  put("outside", "secret");
  SimulatedMachine machine(directory());
  auto& files = machine.files();
  for (auto const* path :
       {u"C:\\..\\outside", u"C:\\..\\..\\outside", u"..\\outside", u"\\\\?\\C:\\..\\outside",
        u"\\\\?\\C:\\../outside", u"\\\\..\\..\\outside", u"\\\\.\\..\\outside",
        u"\\\\srv\\..\\outside", u"\\\\?\\UNC\\..\\..\\outside", u"\\\\?\\outside",
        u"\\\\?\\..\\outside", u"//?/UNC/./../outside"}) {
    EXPECT_FALSE(files.status(path)) << toUtf8(path);
    EXPECT_NE(errorOf([&] { files.openForReading(path); }), ErrorCode::success) << toUtf8(path);
    EXPECT_FALSE(files.removeFile(path)) << toUtf8(path);
  }
  EXPECT_EQ(content("outside"), "secret");
}

TEST_F(SimulatedMachineTest, ADriveExistsWhenItsFolderDoes) {
  SimulatedMachine machine(directory());
  EXPECT_FALSE(machine.files().status(u"D:\\"));
  EXPECT_EQ(errorOf([&] { writeFile(machine, u"D:\\file"); }), ErrorCode::pathNotFound);
  EXPECT_EQ(errorOf([&] { machine.files().createDirectory(u"D:\\"); }), ErrorCode::pathNotFound);
  fs::create_directory(directory() / "D");
  writeFile(machine, u"d:\\file");
  EXPECT_TRUE(fs::exists(directory() / "D" / "file"));
  EXPECT_EQ(errorOf([&] { machine.files().rename(u"D:\\file", u"C:\\file", true); }),
            ErrorCode::notSameDevice);
}

TEST_F(SimulatedMachineTest, AShareExistsWhenItsFolderDoes) {
  fs::create_directories(directory() / "UNC" / "srv" / "share");
  SimulatedMachine machine(directory());
  writeFile(machine, u"\\\\SRV\\Share\\file", "x");
  EXPECT_EQ(content(fs::path("UNC") / "srv" / "share" / "file"), "x");
  EXPECT_TRUE(machine.files().status(u"\\\\?\\UNC\\srv\\share\\FILE"));
  EXPECT_FALSE(machine.files().status(u"\\\\srv\\none\\file"));
  EXPECT_FALSE(machine.files().status(u"\\\\srv"));
}

TEST_F(SimulatedMachineTest, ADriveOrShareIsNotRemoved) {
  SimulatedMachine machine(directory());
  fs::create_directory(directory() / "D");
  EXPECT_EQ(errorOf([&] { machine.files().removeDirectory(u"D:\\"); }), ErrorCode::accessDenied);
  EXPECT_TRUE(fs::exists(directory() / "D"));
}

TEST_F(SimulatedMachineTest, ControlCharactersAndReservedOnesNameNothing) {
  SimulatedMachine machine(directory());
  for (auto const* path : {u"C:\\a<", u"C:\\a>", u"C:\\a:b", u"C:\\a\"", u"C:\\a|", u"C:\\a?",
                           u"C:\\a*", u"C:\\a\x01", u"\\\\?\\C:\\a/b"}) {
    EXPECT_FALSE(machine.files().status(path)) << toUtf8(path);
    EXPECT_EQ(errorOf([&] { writeFile(machine, path); }), ErrorCode::invalidName) << toUtf8(path);
  }
}

TEST_F(SimulatedMachineTest, ATooLongNameIsTold) {
  SimulatedMachine machine(directory());
  UString const path = u"C:\\" + UString(300, u'n');
  EXPECT_FALSE(machine.files().status(path));
  EXPECT_NE(errorOf([&] { writeFile(machine, path); }), ErrorCode::success);
}

TEST_F(SimulatedMachineTest, TheExactSpellingIsFoundFirst) {
  SimulatedMachine machine(directory());
  put("C/NAME", "upper");
  put("C/name", "lower");
  if (content("C/NAME") == "lower") GTEST_SKIP() << "this host knows no case";
  machine.files().removeFile(u"C:\\name");
  EXPECT_FALSE(fs::exists(directory() / "C" / "name"));
  EXPECT_TRUE(machine.files().removeFile(u"C:\\name"));
  EXPECT_FALSE(fs::exists(directory() / "C" / "NAME"));
}

TEST_F(SimulatedMachineTest, TheProcesssOwnFolderIsLeftAlone) {
  SimulatedMachine machine(directory());
  auto const before = fs::current_path();
  EXPECT_TRUE(machine.files().setCurrentDirectory(u"C:\\Windows"));
  EXPECT_EQ(fs::current_path(), before);
}

TEST_F(SimulatedMachineTest, ARegistryRootIsNotRemoved) {
  SimulatedMachine machine(directory());
  for (auto const* path : {u"", u"\\"})
    EXPECT_NE(errorOf([&] {
                machine.registry().removeKey({RegistryRoot::localMachine, path});
              }),
              ErrorCode::success);
}

TEST_F(SimulatedMachineTest, IllFormedNamesAreRefused) {
  SimulatedMachine machine(directory());
  UString const bad{u'a', 0xD800};
  EXPECT_EQ(errorOf([&] {
              machine.registry().createKey({RegistryRoot::users, bad});
            }),
            ErrorCode::invalidParameter);
  EXPECT_EQ(errorOf([&] { machine.registry().setValue(software, bad, RegistryValue::ofDword(1)); }),
            ErrorCode::invalidParameter);
  EXPECT_FALSE(machine.environment().setVariable(bad, u"1"));
  EXPECT_EQ(errorOf([&] { writeFile(machine, u"C:\\" + bad); }), ErrorCode::invalidName);
}

class SimulatedLinksTest : public SimulatedMachineTest {
 protected:
  void SetUp() override {
    std::error_code error;
    fs::create_directories(outside_.path() / "folder");
    fs::create_symlink(outside_.path(), directory() / "C" / "out", error);
    if (error || !fs::is_symlink(directory() / "C" / "out"))
      GTEST_SKIP() << "this host makes no links";
    std::ofstream(outside_.path() / "secret") << "secret";
  }
  tests::TemporaryFolder outside_;
  SimulatedMachine machine_{directory()};
};

TEST_F(SimulatedLinksTest, ALinkThatLeadsOutIsALinkAndNoMore) {
  auto const status = machine_.files().status(u"C:\\out");
  EXPECT_TRUE(status && status->isLink);
}

TEST_F(SimulatedLinksTest, NothingIsOpenedThroughALinkThatLeadsOut) {
  auto& files = machine_.files();
  using Call = std::function<void()>;
  for (auto const& call : {Call([&] { files.openForReading(u"C:\\out\\secret"); }),
                           Call([&] { writeFile(machine_, u"C:\\out\\new"); }),
                           Call([&] { files.openDirectory(u"C:\\out"); }),
                           Call([&] { files.createDirectory(u"C:\\out\\new"); }),
                           Call([&] { files.removeFile(u"C:\\out\\secret"); }),
                           Call([&] { files.removeDirectory(u"C:\\out\\folder"); }),
                           Call([&] { files.rename(u"C:\\out\\secret", u"C:\\x", true); }),
                           Call([&] { files.status(u"C:\\out\\secret"); })})
    EXPECT_EQ(errorOf(call), ErrorCode::accessDenied);
  EXPECT_FALSE(files.setCurrentDirectory(u"C:\\out"));
  EXPECT_FALSE(files.fileVersion(u"C:\\out\\secret"));
  EXPECT_TRUE(fs::exists(outside_.path() / "secret"));
  EXPECT_FALSE(fs::exists(outside_.path() / "new"));
}

TEST_F(SimulatedLinksTest, RemovingALinkThatLeadsOutLeavesItsTarget) {
  EXPECT_TRUE(machine_.files().removeDirectory(u"C:\\out"));
  EXPECT_TRUE(fs::exists(outside_.path() / "secret"));
}

TEST_F(SimulatedLinksTest, WritingThroughALinkToNothingMakesNothing) {
  fs::create_symlink(outside_.path() / "made", directory() / "C" / "dangling");
  EXPECT_NE(errorOf([&] { writeFile(machine_, u"C:\\dangling"); }), ErrorCode::success);
  EXPECT_FALSE(fs::exists(outside_.path() / "made"));
}

TEST_F(SimulatedLinksTest, ALinkInACircleLeadsNowhere) {
  fs::create_symlink("circle", directory() / "C" / "circle");
  EXPECT_EQ(errorOf([&] { machine_.files().openForReading(u"C:\\circle\\file"); }),
            ErrorCode::pathNotFound);
}

}  // namespace machine::simulated
