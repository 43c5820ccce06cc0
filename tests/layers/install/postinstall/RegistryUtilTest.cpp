#include <gmock/gmock.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/postinstall/RegistryUtil.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

using fl::i18n::to_wstring;
using machine::RegistryKey;
using machine::RegistryRoot;
using machine::RegistryType;
using machine::RegistryValue;
using testing::HasSubstr;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;
using testing::Throw;

class MockRegistry : public machine::Registry {
 public:
  MOCK_METHOD(bool, createKey, (RegistryKey const&), (override));
  MOCK_METHOD(bool, keyExists, (RegistryKey const&), (override));
  MOCK_METHOD(std::optional<RegistryValue>, value, (RegistryKey const&, std::u16string_view),
              (override));
  MOCK_METHOD(void, setValue, (RegistryKey const&, std::u16string_view, RegistryValue const&),
              (override));
  MOCK_METHOD(bool, removeValue, (RegistryKey const&, std::u16string_view), (override));
  MOCK_METHOD(bool, removeKey, (RegistryKey const&), (override));
  MOCK_METHOD(bool, removeEmptyKey, (RegistryKey const&), (override));
  MOCK_METHOD(std::vector<machine::UString>, subkeys, (RegistryKey const&), (override));
  MOCK_METHOD((std::vector<std::pair<machine::UString, RegistryValue>>), values,
              (RegistryKey const&), (override));
};

class RegistryUtilTest : public tests::MachineTest {
 protected:
  std::wstring path() const { return to_wstring(registryPath()); }
  RegistryKey key() const { return {RegistryRoot::currentUser, registryPath()}; }

  RegistryUtil const& util = RegistryUtil::getRegistryUtil();
};

/// Over a registry that only records, so that no key of a real one is at stake.
class RegistryUtilCalls : public RegistryUtilTest {
 protected:
  RegistryUtilCalls() { substituted_.replace(recorded); }

  StrictMock<MockRegistry> recorded;

 private:
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine scope_{substituted_};
};

TEST(RegistryRoots, AreTheHandlesOfWinreg) {
  auto const number = [](HKEY root) { return reinterpret_cast<std::uintptr_t>(root); };
  EXPECT_EQ(number(classesRootKey()), 0xFFFFFFFF80000000u);
  EXPECT_EQ(number(currentUserKey()), 0xFFFFFFFF80000001u);
  EXPECT_EQ(number(localMachineKey()), 0xFFFFFFFF80000002u);
  EXPECT_EQ(number(usersKey()), 0xFFFFFFFF80000003u);
  EXPECT_EQ(number(currentConfigKey()), 0xFFFFFFFF80000005u);
}

TEST_F(RegistryUtilTest, SetMakesKeyAndValue) {
  util.setRegKeyValue(currentUserKey(), path() + L"\\deeper", L"Name", L"caf\u00E9");
  RegistryKey const deeper{RegistryRoot::currentUser, registryPath() + u"\\deeper"};
  EXPECT_EQ(registry().value(deeper, u"Name"), RegistryValue::ofText(u"caf\u00E9"));
}

TEST_F(RegistryUtilTest, SetWritesTheDefaultValueForAnEmptyName) {
  util.setRegKeyValue(currentUserKey(), path(), L"", L"x");
  EXPECT_EQ(registry().value(key(), u""), RegistryValue::ofText(u"x"));
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L""), L"x");
}

TEST_F(RegistryUtilTest, SetKeepsTheTypeOfAStringAndNoOther) {
  registry().setValue(key(), u"expandable",
                      RegistryValue::ofText(u"%SystemRoot%", RegistryType::expandableString));
  registry().setValue(key(), u"string", RegistryValue::ofText(u"x"));
  registry().setValue(key(), u"number", RegistryValue::ofDword(1));
  for (wchar_t const* name : {L"expandable", L"string", L"number", L"new"}) {
    util.setRegKeyValue(currentUserKey(), path(), name, L"%SystemRoot%;C:\\a");
  }
  EXPECT_EQ(registry().value(key(), u"expandable"),
            RegistryValue::ofText(u"%SystemRoot%;C:\\a", RegistryType::expandableString));
  for (char16_t const* name : {u"string", u"number", u"new"}) {
    EXPECT_EQ(registry().value(key(), name), RegistryValue::ofText(u"%SystemRoot%;C:\\a"));
  }
}

TEST_F(RegistryUtilTest, SetTwiceIsSetOnce) {
  util.setRegKeyValue(currentUserKey(), path(), L"Name", L"x");
  util.setRegKeyValue(currentUserKey(), path(), L"name", L"x");
  EXPECT_EQ(registry().values(key()).size(), 1u);
}

TEST_F(RegistryUtilTest, GetReadsUnexpandedText) {
  registry().setValue(key(), u"Path",
                      RegistryValue::ofText(u"%SystemRoot%\\x", RegistryType::expandableString));
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L"path"), L"%SystemRoot%\\x");
}

TEST_F(RegistryUtilTest, GetReadsADwordAsItsUnits) {
  registry().setValue(key(), u"flag", RegistryValue::ofDword(1));
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L"flag"), L"\x01");
}

TEST_F(RegistryUtilTest, GetIsEmptyWhenKeyOrValueIsMissing) {
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L"x"), L"");
  registry().createKey(key());
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L"x"), L"");
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path(), L""), L"");
}

TEST_F(RegistryUtilTest, DeleteTakesEverythingInTheKey) {
  util.setRegKeyValue(currentUserKey(), path() + L"\\one\\two", L"Name", L"x");
  util.setRegKeyValue(currentUserKey(), path() + L"\\other", L"Name", L"x");
  util.deleteRegKey(currentUserKey(), path() + L"\\one");
  EXPECT_FALSE(registry().keyExists({RegistryRoot::currentUser, registryPath() + u"\\one"}));
  EXPECT_TRUE(registry().keyExists({RegistryRoot::currentUser, registryPath() + u"\\other"}));
}

TEST_F(RegistryUtilTest, DeletingAMissingKeyIsNoError) {
  EXPECT_NO_THROW(util.deleteRegKey(currentUserKey(), path()));
  EXPECT_NO_THROW(util.deleteRegKey(currentUserKey(), path() + L"\\deeper"));
}

TEST_F(RegistryUtilTest, ExtraBackslashesDoNotCount) {
  util.setRegKeyValue(currentUserKey(), L"\\" + path() + L"\\\\one\\", L"Name", L"x");
  EXPECT_EQ(util.getRegKeyValue(currentUserKey(), path() + L"\\one", L"Name"), L"x");
  util.deleteRegKey(currentUserKey(), L"\\\\" + path() + L"\\");
  EXPECT_FALSE(registry().keyExists(key()));
}

TEST_F(RegistryUtilCalls, ANewKeyIsNotAskedForItsValue) {
  RegistryKey const written{RegistryRoot::localMachine, u"SOFTWARE\\Brantix"};
  InSequence const order;
  EXPECT_CALL(recorded, createKey(written)).WillOnce(Return(true));
  EXPECT_CALL(recorded, setValue(written, testing::Eq(u"Name"), RegistryValue::ofText(u"x")));
  util.setRegKeyValue(localMachineKey(), L"SOFTWARE\\Brantix", L"Name", L"x");
}

TEST_F(RegistryUtilCalls, EachRootIsPassedOn) {
  std::pair<HKEY, RegistryRoot> const roots[] = {{classesRootKey(), RegistryRoot::classesRoot},
                                                 {currentUserKey(), RegistryRoot::currentUser},
                                                 {localMachineKey(), RegistryRoot::localMachine},
                                                 {usersKey(), RegistryRoot::users},
                                                 {currentConfigKey(), RegistryRoot::currentConfig}};
  for (auto const& [handle, root] : roots) {
    EXPECT_CALL(recorded, value(RegistryKey{root, u"a\\b"}, testing::Eq(u"n")));
    util.getRegKeyValue(handle, L"a\\b", L"n");
  }
}

TEST_F(RegistryUtilCalls, AnUnknownRootIsRefused) {
  int other = 0;
  for (HKEY const root : {HKEY(nullptr), reinterpret_cast<HKEY>(&other),
                          reinterpret_cast<HKEY>(std::uintptr_t{0x80000002})}) {
    EXPECT_THROW(util.setRegKeyValue(root, L"a", L"n", L"x"), std::invalid_argument);
    EXPECT_THROW(util.deleteRegKey(root, L"a\\b\\c"), std::invalid_argument);
    EXPECT_THROW(util.getRegKeyValue(root, L"a", L"n"), std::invalid_argument);
  }
}

TEST_F(RegistryUtilCalls, ANulInANameIsRefused) {
  std::wstring const cut(L"SOFTWARE\0\\Brantix", 17);
  EXPECT_THROW(util.deleteRegKey(localMachineKey(), cut), std::invalid_argument);
  EXPECT_THROW(util.setRegKeyValue(localMachineKey(), cut, L"n", L"x"), std::invalid_argument);
  EXPECT_THROW(util.setRegKeyValue(localMachineKey(), L"a", cut, L"x"), std::invalid_argument);
  EXPECT_THROW(util.getRegKeyValue(localMachineKey(), L"a", cut), std::invalid_argument);
}

TEST_F(RegistryUtilCalls, WhatTheSystemRefusesPassesOn) {
  machine::SystemError const denied("change", u"the key", machine::ErrorCode::accessDenied);
  EXPECT_CALL(recorded, createKey).WillOnce(Throw(denied));
  EXPECT_THROW(util.setRegKeyValue(localMachineKey(), L"a", L"n", L"x"), machine::SystemError);
  EXPECT_CALL(recorded, createKey).WillOnce(Return(false));
  EXPECT_CALL(recorded, value).WillOnce(Throw(denied));
  EXPECT_THROW(util.setRegKeyValue(localMachineKey(), L"a", L"n", L"x"), machine::SystemError);
  EXPECT_CALL(recorded, createKey).WillOnce(Return(true));
  EXPECT_CALL(recorded, setValue).WillOnce(Throw(denied));
  EXPECT_THROW(util.setRegKeyValue(localMachineKey(), L"a", L"n", L"x"), machine::SystemError);
  EXPECT_CALL(recorded, removeKey).WillOnce(Throw(denied));
  EXPECT_THROW(util.deleteRegKey(localMachineKey(), L"SOFTWARE\\Brantix"), machine::SystemError);
  EXPECT_CALL(recorded, value).WillOnce(Throw(denied));
  EXPECT_THROW(util.getRegKeyValue(localMachineKey(), L"a", L"n"), machine::SystemError);
}

TEST_F(RegistryUtilCalls, DeleteRefusesEmptyPaths) {
  for (HKEY const root :
       {classesRootKey(), currentUserKey(), localMachineKey(), usersKey(), currentConfigKey()}) {
    for (wchar_t const* path : {L"", L"\\", L"\\\\", L"\\\\\\"}) {
      EXPECT_THROW(util.deleteRegKey(root, path), std::invalid_argument);
    }
  }
}

TEST_F(RegistryUtilCalls, DeleteRefusesEveryKeyThatIsNotBelowAPlaceOfProducts) {
  std::pair<HKEY, std::vector<std::wstring>> const refused[] = {
      {localMachineKey(),
       {L"SOFTWARE",
        L"SYSTEM",
        L"HARDWARE",
        L"SAM",
        L"SECURITY",
        L"BCD00000000",
        L"DRIVERS",
        L"COMPONENTS",
        L"Anything",
        L"SOFTWARE\\Microsoft",
        L"SOFTWARE\\Microsoft\\Windows",
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion",
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths",
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run",
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
        L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System",
        L"SOFTWARE\\Microsoft\\Windows NT",
        L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
        L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Fonts",
        L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options",
        L"SOFTWARE\\Microsoft\\Brantix",
        L"SOFTWARE\\Classes",
        L"SOFTWARE\\Clients",
        L"SOFTWARE\\Policies",
        L"SOFTWARE\\Policies\\Microsoft",
        L"SOFTWARE\\Policies\\Microsoft\\Windows",
        L"SOFTWARE\\RegisteredApplications",
        L"SOFTWARE\\WOW6432Node",
        L"SOFTWARE\\WOW6432Node\\Microsoft",
        L"SOFTWARE\\WOW6432Node\\Classes",
        L"SOFTWARE\\Classes\\WOW6432Node",
        L"SYSTEM\\CurrentControlSet",
        L"SYSTEM\\CurrentControlSet\\Control",
        L"SYSTEM\\CurrentControlSet\\Services",
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager",
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
        L"SYSTEM\\CurrentControlSet\\Control\\Brantix",
        L"SYSTEM\\CurrentControlSet\\Enum\\USB",
        L"SYSTEM\\ControlSet001",
        L"SYSTEM\\ControlSet001\\Services",
        L"SYSTEM\\Select",
        L"SYSTEM\\Brantix",
        L"SAM\\SAM",
        L"SECURITY\\Policy\\Secrets",
        L"HARDWARE\\DESCRIPTION"}},
      {classesRootKey(), {L"WOW6432Node"}},
      {currentUserKey(),
       {L"Software", L"Environment", L"Console", L"Control Panel\\Desktop", L"Software\\Microsoft",
        L"Software\\Classes", L"Software\\WOW6432Node", L"Volatile Environment\\1",
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"}},
      {usersKey(),
       {L".DEFAULT", L"S-1-5-18", L"S-1-5-18\\Software", L"S-1-5-18\\Environment",
        L"S-1-5-18_Classes", L"S-1-5-18\\Software\\Microsoft"}},
      {currentConfigKey(), {L"System", L"Software", L"System\\CurrentControlSet\\Control"}},
  };
  for (auto const& [root, paths] : refused) {
    for (auto const& path : paths) {
      EXPECT_THROW(util.deleteRegKey(root, path), std::invalid_argument)
          << machine::toUtf8(machine::fromWide(path));
    }
  }
}

/// Windows' own classes and services have values beside texts; this helper writes texts only.
TEST_F(RegistryUtilCalls, DeleteRefusesAClassOrServiceThatHoldsMoreThanStrings) {
  std::tuple<HKEY, RegistryRoot, machine::UString> const others[] = {
      {localMachineKey(), RegistryRoot::localMachine,
       u"SYSTEM\\CurrentControlSet\\Services\\Dnscache"},
      {localMachineKey(), RegistryRoot::localMachine,
       u"SYSTEM\\ControlSet002\\Services\\Tcpip\\Parameters"},
      {localMachineKey(), RegistryRoot::localMachine, u"SOFTWARE\\Classes\\CLSID"},
      {localMachineKey(), RegistryRoot::localMachine, u"SOFTWARE\\WOW6432Node\\Classes\\exefile"},
      {classesRootKey(), RegistryRoot::classesRoot, u"exefile"},
      {classesRootKey(), RegistryRoot::classesRoot, u"Directory\\shell"},
      {currentUserKey(), RegistryRoot::currentUser, u"Software\\Classes\\CLSID"},
      {usersKey(), RegistryRoot::users, u"S-1-5-18_Classes\\CLSID"},
  };
  for (auto const& [handle, root, path] : others) {
    RegistryKey const whole{root, path};
    RegistryKey const below{root, path + u"\\below"};
    EXPECT_CALL(recorded, values(whole))
        .WillOnce(Return(std::vector<std::pair<machine::UString, RegistryValue>>{
            {u"", RegistryValue::ofText(u"its name")}}));
    EXPECT_CALL(recorded, subkeys(whole)).WillOnce(Return(std::vector<machine::UString>{u"below"}));
    EXPECT_CALL(recorded, values(below))
        .WillOnce(Return(std::vector<std::pair<machine::UString, RegistryValue>>{
            {u"Start", RegistryValue::ofDword(2)}}));
    try {
      util.deleteRegKey(handle, to_wstring(path));
      ADD_FAILURE() << machine::toUtf8(path);
    } catch (std::invalid_argument const& refusal) {
      EXPECT_THAT(refusal.what(), HasSubstr("\\below holds \"Start\" of the type REG_DWORD"));
    }
  }
}

TEST_F(RegistryUtilTest, ASlashInPlaceOfABackslashIsRefusedWhereItWouldMakeAKeyOfTheRoot) {
  for (wchar_t const* path : {L"SOFTWARE/Brantix", L"\\Software/Brantix/Vortan", L"a/b\\"}) {
    for (auto const change : {+[](RegistryUtil const&with, std::wstring const&key) {
                                with.setRegKeyValue(localMachineKey(), key, L"n", L"x");
                              },
                              +[](RegistryUtil const&with, std::wstring const&key) {
                                with.deleteRegKey(localMachineKey(), key);
                              }}) {
      try {
        change(util, path);
        ADD_FAILURE();
      } catch (std::invalid_argument const& refusal) {
        EXPECT_THAT(refusal.what(), HasSubstr("names are separated by"));
      }
    }
  }
  // Anywhere else it is a unit like any other.
  util.setRegKeyValue(currentUserKey(), path() + L"\\text/html", L"", L"x");
  util.deleteRegKey(currentUserKey(), path() + L"\\text/html");
  EXPECT_TRUE(registry().subkeys(key()).empty());
}

TEST_F(RegistryUtilTest, AStringIsRequiredByNameAndType) {
  registry().setValue(key(), u"number", RegistryValue::ofDword(1));
  registry().setValue(key(), u"text", RegistryValue::ofText(u"x"));
  registry().setValue(key(), u"expandable",
                      RegistryValue::ofText(u"x", RegistryType::expandableString));
  for (wchar_t const* name : {L"text", L"expandable", L"missing"}) {
    EXPECT_NO_THROW(util.requireString(currentUserKey(), path(), name));
  }
  try {
    util.requireString(currentUserKey(), path(), L"number");
    ADD_FAILURE();
  } catch (std::runtime_error const& refusal) {
    EXPECT_THAT(refusal.what(), HasSubstr("\\number is no string but REG_DWORD"));
  }
}

TEST_F(RegistryUtilCalls, DeleteSeesThroughSpelling) {
  for (wchar_t const* path :
       {L"software", L"\\SOFTWARE", L"SOFTWARE\\", L"\\\\Software\\\\microsoft\\",
        L"system\\currentcontrolset", L"SYSTEM\\\\CURRENTCONTROLSET\\\\Services\\"}) {
    EXPECT_THROW(util.deleteRegKey(localMachineKey(), path), std::invalid_argument);
  }
}

TEST_F(RegistryUtilCalls, RefusalNamesTheKey) {
  try {
    util.deleteRegKey(localMachineKey(), L"\\Software\\");
    FAIL();
  } catch (std::invalid_argument const& refusal) {
    EXPECT_THAT(refusal.what(), HasSubstr("HKEY_LOCAL_MACHINE\\Software"));
  }
}

TEST_F(RegistryUtilCalls, DeletePassesProductsOwnKeysOn) {
  using Root = RegistryRoot;
  std::tuple<HKEY, RegistryRoot, machine::UString> const own[] = {
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Brantix"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Brantix\\Vortan"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Brantix\\Microsoft"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\WOW6432Node\\Brantix"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Clients\\StartMenuInternet\\Vortan"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Policies\\Brantix"},
      {localMachineKey(), Root::localMachine,
       u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\vortan.exe"},
      {localMachineKey(), Root::localMachine,
       u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Vortan"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Micro"},
      {currentUserKey(), Root::currentUser, u"Software\\Brantix"},
      {currentUserKey(), Root::currentUser,
       u"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Vortan"},
      {usersKey(), Root::users, u"S-1-5-18\\Software\\Brantix"},
  };
  for (auto const& [handle, root, path] : own) {
    EXPECT_CALL(recorded, removeKey(RegistryKey{root, path})).WillOnce(Return(true));
    EXPECT_NO_THROW(util.deleteRegKey(handle, to_wstring(path))) << machine::toUtf8(path);
  }
  std::tuple<HKEY, RegistryRoot, machine::UString> const ownAmongWindows[] = {
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Classes\\Vortan.Document"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Classes\\vortan"},
      {localMachineKey(), Root::localMachine, u"SOFTWARE\\Classes\\*\\shell\\Vortan"},
      {localMachineKey(), Root::localMachine, u"SYSTEM\\CurrentControlSet\\Services\\VortanAgent"},
      {localMachineKey(), Root::localMachine,
       u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Vortan"},
      {classesRootKey(), Root::classesRoot, u"Vortan.Document"},
      {classesRootKey(), Root::classesRoot, u".vt"},
      {classesRootKey(), Root::classesRoot, u"CLSID\\{1}"},
      {currentUserKey(), Root::currentUser, u"Software\\Classes\\Vortan.Document"},
      {usersKey(), Root::users, u"S-1-5-18_Classes\\Vortan.Document"},
  };
  std::vector<std::pair<machine::UString, RegistryValue>> const strings{
      {u"", RegistryValue::ofText(u"x")},
      {u"Path", RegistryValue::ofText(u"%x%", RegistryType::expandableString)}};
  for (auto const& [handle, root, path] : ownAmongWindows) {
    RegistryKey const whole{root, path};
    EXPECT_CALL(recorded, values(whole)).WillOnce(Return(strings));
    EXPECT_CALL(recorded, subkeys(whole)).WillOnce(Return(std::vector<machine::UString>{}));
    EXPECT_CALL(recorded, removeKey(whole)).WillOnce(Return(true));
    EXPECT_NO_THROW(util.deleteRegKey(handle, to_wstring(path))) << machine::toUtf8(path);
  }
}

}  // namespace
}  // namespace install::postinstall
