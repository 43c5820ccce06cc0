#include <gtest/gtest.h>

#include "registration/commands/RegisterDlls.hpp"
#include "tests/registration/commands/windows/product_fixture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

/// The sample's COM server, registered for real and gone from the registry afterwards.
class RegisterDllsOnWindows : public tests::ProductTest {
 protected:
  ~RegisterDllsOnWindows() override { registry().removeKey(classKey()); }

  static machine::RegistryKey classKey() {
    return {machine::RegistryRoot::classesRoot, u"CLSID\\{5B0F6C1E-7D3A-4E52-9A1B-36C4D27F08E1}"};
  }
  UString registeredModule() {
    machine::RegistryKey key = classKey();
    key.path += u"\\InprocServer32";
    auto const value = registry().value(key, u"");
    return value ? value->text() : UString();
  }
};

TEST_F(RegisterDllsOnWindows, RegistersAComServerAndUnregistersIt) {
  Path const dll = copy(u"com_server.dll", root() / u"a folder \u65e5", u"com server.dll");
  RegisterDlls const command(tests::plainOptions(), {dll});
  tests::LogCapture log;

  ASSERT_FALSE(registry().keyExists(classKey()));
  command.execute();
  EXPECT_TRUE(tests::eventually([&] { return registeredModule() == dll.ustring(); }))
      << fl::i18n::to_string(registeredModule());

  command.undo();
  EXPECT_TRUE(tests::eventually([&] { return !registry().keyExists(classKey()); }));

  UString const run = u"[" + machine().shell().knownFolder(machine::KnownFolder::system) +
                      u"\\regsvr32.exe /s \"" + dll.ustring() + u"\"]";
  ASSERT_EQ(log.messages().size(), 4u);
  EXPECT_EQ(log.messages()[0], u"Running " + run);
  EXPECT_EQ(log.messages()[1], u"Successfully ran " + run);
}

TEST_F(RegisterDllsOnWindows, DllThatCannotBeRegisteredCountsAsRun) {
  Path const dll = root() / u"no module.dll";
  writeFile(dll, "no module");
  usedByOthers(dll);
  tests::LogCapture log;
  RegisterDlls(tests::plainOptions(), {dll}).execute();
  ASSERT_EQ(log.messages().size(), 2u);
  EXPECT_TRUE(log.messages()[1].starts_with(u"Successfully ran ["));
}

}  // namespace
}  // namespace registration::commands
