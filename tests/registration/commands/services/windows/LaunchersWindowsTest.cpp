#include <windows.h>

#include <gtest/gtest.h>

#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"
#include "registration/commands/LaunchFyroSettingsExecutable.hpp"
#include "tests/registration/commands/windows/product_fixture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

/// Runs helper_probe.exe, told by the environment what to do.
class LaunchersOnWindows : public tests::ProductTest {
 protected:
  LaunchersOnWindows() { tell(u"PROBE_FILE", record_.ustring()); }
  ~LaunchersOnWindows() override {
    for (auto const* name :
         {u"PROBE_FILE", u"PROBE_WAIT", u"PROBE_DONE", u"PROBE_HANDLE", u"PROBE_EXIT"}) {
      machine().environment().removeVariable(name);
    }
  }
  void tell(UString const& variable, UString const& value) {
    ASSERT_TRUE(machine().environment().setVariable(variable, value));
  }
  UString handleNumber(HANDLE handle) const {
    return fl::i18n::to_ustring(std::to_string(reinterpret_cast<std::uintptr_t>(handle)));
  }
  utility::Options settings(UString const& installation, UString const& argument) const {
    utility::Options::Values values;
    values.usageDataSettingsRequested = true;
    values.rootPath = installation;
    values.usageDataSettingsArgument = argument;
    return utility::Options(values);
  }

  Path const probe_ = copy(u"helper_probe.exe", root() / u"a folder \u65e5", u"a probe.exe");
  Path const record_ = root() / u"record.txt";
  tests::LogCapture log_;
};

/// An event with a name of its own, closed at the end.
class Event {
 public:
  explicit Event(UString const& name)
      : handle_(CreateEventW(nullptr, TRUE, FALSE, fl::i18n::to_wstring(name).c_str())) {}
  ~Event() { CloseHandle(handle_); }
  Event(Event const&) = delete;
  Event& operator=(Event const&) = delete;

  void set() { SetEvent(handle_); }
  bool isSet(DWORD milliseconds = 0) const {
    return WaitForSingleObject(handle_, milliseconds) == WAIT_OBJECT_0;
  }

 private:
  HANDLE handle_;
};

TEST_F(LaunchersOnWindows, TheCacheBuilderIsAwaitedAndItsExitCodeIgnored) {
  tell(u"PROBE_EXIT", u"3");
  LaunchCppMicroServicesCacheExecutable(tests::plainOptions(), probe_).execute();
  EXPECT_EQ(readFile(record_), "complete\n") << "no argument, and nothing is missing";
  EXPECT_EQ(log_.messages(), (Lines{u"Calling Manifest cache executable",
                                    u"Successfully called Manifest cache executable"}));
}

TEST_F(LaunchersOnWindows, FileThatIsNoProgramIsOneLineWithTheReason) {
  Path const text = root() / u"text.exe";
  writeFile(text, "no program");
  LaunchCppMicroServicesCacheExecutable(tests::plainOptions(), text).execute();
  ASSERT_EQ(log_.messages().size(), 2u);
  EXPECT_TRUE(log_.messages()[1].starts_with(u"Unable to call Manifest cache executable:start " +
                                             text.ustring()));
}

TEST_F(LaunchersOnWindows, TheSettingsToolIsNotAwaited) {
  UString const name(machine::path_grammar::fileName(root().ustring()));
  Event wait(name + u"-wait");
  Event const done(name + u"-done");
  tell(u"PROBE_WAIT", name + u"-wait");
  tell(u"PROBE_DONE", name + u"-done");
  LaunchFyroSettingsExecutable(settings(u"root", u"argument"), probe_).execute();
  EXPECT_FALSE(exists(record_)) << "the tool is still waiting for the event";
  wait.set();
  EXPECT_TRUE(done.isSet(30000));
  EXPECT_EQ(readFile(record_), "-m\nroot\n-i\nargument\n-s\ncomplete\n");
  EXPECT_TRUE(log_.messages().empty());
}

TEST_F(LaunchersOnWindows, TheSettingsToolsArgumentsArriveUnchanged) {
  struct Pair {
    UString installation, argument;
  };
  for (auto const& [installation, argument] :
       {Pair{u"C:\\Program Files\\Vortan\\", u""}, Pair{u"", u"a \"quoted\" one\\"},
        Pair{u"\u65e5\u0416 \U0001F600\\\\", u"\\\"\\\\\" -c"}}) {
    files().removeFile(record_.ustring());
    LaunchFyroSettingsExecutable(settings(installation, argument), probe_).execute();
    EXPECT_EQ(contentWhenItEndsWith(record_, "complete\n"),
              "-m\n" + fl::i18n::to_string(installation) + "\n-i\n" +
                  fl::i18n::to_string(argument) + "\n-s\ncomplete\n");
  }
}

TEST_F(LaunchersOnWindows, NeitherInheritsAHandle) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE const event = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
  tell(u"PROBE_HANDLE", handleNumber(event));

  LaunchCppMicroServicesCacheExecutable(tests::plainOptions(), probe_).execute();
  EXPECT_EQ(readFile(record_), "complete\n");
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});

  files().removeFile(record_.ustring());
  LaunchFyroSettingsExecutable(settings(u"root", u"argument"), probe_).execute();
  EXPECT_TRUE(contentWhenItEndsWith(record_, "complete\n").ends_with("complete\n"));
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});

  // Started in the usual way the probe does set the event: the checks above can fail.
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION created{};
  ASSERT_TRUE(CreateProcessW(fl::i18n::to_wstring(probe_.ustring()).c_str(), nullptr, nullptr,
                             nullptr, TRUE, 0, nullptr, nullptr, &startup, &created));
  EXPECT_EQ(WaitForSingleObject(event, 30000), DWORD{WAIT_OBJECT_0});
  WaitForSingleObject(created.hProcess, INFINITE);
  CloseHandle(created.hThread);
  CloseHandle(created.hProcess);
  CloseHandle(event);
}

TEST_F(LaunchersOnWindows, TheSampleCacheBuilderListsTheBundles) {
  Path const folder = root() / u"bin";
  Path const builder = copy(u"cache_builder.exe", folder);
  LaunchCppMicroServicesCacheExecutable const command(tests::plainOptions(), builder);
  command.execute();
  EXPECT_EQ(readFile(folder / u"manifest_cache.txt"), "complete\n");
  writeFile(folder / u"bundles\\b\\x", "");
  writeFile(folder / u"bundles\\a\\x", "");
  command.execute();
  EXPECT_EQ(readFile(folder / u"manifest_cache.txt"), "a\nb\ncomplete\n");
}

TEST_F(LaunchersOnWindows, TheSampleSettingsToolRecordsItsArguments) {
  Path const tool = copy(u"settings_tool.exe", root() / u"bin");
  LaunchFyroSettingsExecutable(settings(u"C:\\R1", u"on"), tool).execute();
  EXPECT_EQ(contentWhenItEndsWith(root() / u"bin\\settings_tool.txt", "-s\n"),
            "-m\nC:\\R1\n-i\non\n-s\n");
}

}  // namespace
}  // namespace registration::commands
