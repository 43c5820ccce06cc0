#include <windows.h>

#include <gmock/gmock.h>

#include "machine/error.hpp"
#include "tests/support/machine_fixture.hpp"

namespace {

using machine::RegistryKey;
using machine::RegistryRoot;
using machine::RegistryType;
using machine::RegistryValue;
using machine::SystemError;
using machine::UString;

class WindowsRegistry : public tests::MachineTest {
 protected:
  RegistryKey key() const { return {RegistryRoot::currentUser, registryPath()}; }

  /// Removes the test's key as another process would.
  void removeBehindItsBack() {
    ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, machine::toWide(registryPath()).c_str()),
              ERROR_SUCCESS);
  }
};

RegistryValue const one = RegistryValue::ofText(u"1");

TEST_F(WindowsRegistry, AValueOfOthersThatIsTooLargeIsNotRead) {
  registry().setValue(key(), u"a", one);
  std::string const large(machine::largestRegistryValue + 1, 'x');
  ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, machine::toWide(registryPath()).c_str(), L"a",
                            REG_BINARY, large.data(), static_cast<DWORD>(large.size())),
            ERROR_SUCCESS);
  auto const codeOf = [](auto const& read) -> std::uint32_t {
    try {
      read();
      return 0;
    } catch (SystemError const& error) {
      return error.code();
    }
  };
  EXPECT_EQ(codeOf([&] { registry().value(key(), u"a"); }), ERROR_FILE_TOO_LARGE);
  EXPECT_EQ(codeOf([&] { registry().values(key()); }), ERROR_FILE_TOO_LARGE);
  EXPECT_TRUE(registry().removeValue(key(), u"a")) << "it can be removed";
}

TEST_F(WindowsRegistry, AKeyRemovedByOthersReadsAsMissing) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  EXPECT_EQ(registry().value(key(), u"a"), std::nullopt);
}

TEST_F(WindowsRegistry, AKeyRemovedByOthersDoesNotExist) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  EXPECT_FALSE(registry().keyExists(key()));
}

TEST_F(WindowsRegistry, AKeyRemovedByOthersHasNothingToListOrRemove) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  EXPECT_TRUE(registry().values(key()).empty());
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  EXPECT_TRUE(registry().subkeys(key()).empty());
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  EXPECT_FALSE(registry().removeValue(key(), u"a"));
  EXPECT_FALSE(registry().removeKey(key()));
}

TEST_F(WindowsRegistry, AKeyRemovedByOthersIsMadeAgainForAValue) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  registry().setValue(key(), u"b", one);
  EXPECT_EQ(registry().value(key(), u"a"), std::nullopt);
  EXPECT_EQ(registry().value(key(), u"b"), one);
}

TEST_F(WindowsRegistry, AKeyRemovedByOthersIsCreatedAnew) {
  EXPECT_TRUE(registry().createKey(key()));
  EXPECT_FALSE(registry().createKey(key()));
  removeBehindItsBack();
  EXPECT_TRUE(registry().createKey(key()));
  EXPECT_FALSE(registry().createKey(key()));
}

TEST_F(WindowsRegistry, AKeyRemovedAndMadeAgainByOthersIsReadAnew) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  HKEY made = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, machine::toWide(registryPath()).c_str(), &made),
            ERROR_SUCCESS);
  DWORD const number = 7;
  RegSetValueExW(made, L"a", 0, REG_DWORD, reinterpret_cast<BYTE const*>(&number), sizeof number);
  RegCloseKey(made);
  EXPECT_EQ(registry().value(key(), u"a"), RegistryValue::ofDword(7));
}

TEST_F(WindowsRegistry, OthersMayRemoveTheKeyLastWrittenTo) {
  registry().setValue(key(), u"a", one);
  removeBehindItsBack();
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, machine::toWide(registryPath()).c_str(), 0, KEY_READ,
                          &opened),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(WindowsRegistry, OthersSeeAValueAtOnce) {
  registry().setValue(key(), u"a", one);
  wchar_t text[8]{};
  DWORD size = sizeof text;
  EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, machine::toWide(registryPath()).c_str(), L"a",
                         RRF_RT_REG_SZ, nullptr, text, &size),
            ERROR_SUCCESS);
  EXPECT_STREQ(text, L"1");
}

TEST_F(WindowsRegistry, TheMachinesPathIsReadUnexpandedWithItsType) {
  RegistryKey const environment{
      RegistryRoot::localMachine,
      u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"};
  auto const path = registry().value(environment, u"Path");
  ASSERT_TRUE(path);
  EXPECT_EQ(path->type, RegistryType::expandableString);
  EXPECT_THAT(machine::toUtf8(path->text()), testing::HasSubstr("%SystemRoot%"));

  registry().setValue(key(), u"Path", *path);
  EXPECT_EQ(registry().value(key(), u"Path"), path);
  registry().setValue(key(), u"Path", RegistryValue::ofText(path->text() + u";C:\\x", path->type));
  EXPECT_EQ(registry().value(key(), u"Path")->type, RegistryType::expandableString);
  EXPECT_EQ(registry().value(key(), u"Path")->text(), path->text() + u";C:\\x");
}

TEST_F(WindowsRegistry, ValuesOfAnyTypeAndSizeComeBackByteForByte) {
  std::string bytes;
  for (int i = 0; i < 100000; ++i) {
    bytes += static_cast<char>(i * 7);
  }
  for (auto const& value :
       {RegistryValue{RegistryType::binary, bytes}, RegistryValue{RegistryType::none, ""},
        RegistryValue{RegistryType::string, "odd"}, RegistryValue{RegistryType{12345}, "x"},
        RegistryValue{RegistryType::binary, bytes.substr(0, 256)},
        RegistryValue{RegistryType::binary, bytes.substr(0, 257)}}) {
    registry().setValue(key(), u"a", value);
    EXPECT_EQ(registry().value(key(), u"a"), value);
    EXPECT_EQ(registry().values(key()),
              (std::vector<std::pair<UString, RegistryValue>>{{u"a", value}}));
  }
}

TEST_F(WindowsRegistry, ReadingNeedsNoRightToWrite) {
  // The root of all users' hives: nobody makes keys here.
  EXPECT_TRUE(registry().keyExists({RegistryRoot::users, u".DEFAULT"}));
  EXPECT_FALSE(registry().subkeys({RegistryRoot::localMachine, u"SOFTWARE"}).empty());
}

TEST_F(WindowsRegistry, ARootIsNeverRemoved) {
  registry().setValue(key(), u"a", one);
  for (auto const* const path : {u"", u"\\", u"\\\\"}) {
    EXPECT_THROW(registry().removeKey({RegistryRoot::currentUser, path}), SystemError);
  }
  EXPECT_EQ(registry().value(key(), u"a"), one);
}

TEST_F(WindowsRegistry, ANulEndsNoName) {
  registry().setValue(key(), u"a", one);
  UString const nul(1, u'\0');
  RegistryKey const tricky{RegistryRoot::currentUser, registryPath() + nul + u"\\below"};
  EXPECT_THROW(registry().removeKey(tricky), SystemError);
  EXPECT_THROW(registry().createKey(tricky), SystemError);
  EXPECT_THROW(registry().setValue(tricky, u"a", RegistryValue::ofText(u"2")), SystemError);
  EXPECT_THROW(registry().setValue(key(), u"a" + nul + u"b", RegistryValue::ofText(u"2")),
               SystemError);
  EXPECT_FALSE(registry().keyExists(tricky));
  EXPECT_EQ(registry().value(tricky, u"a"), std::nullopt);
  EXPECT_FALSE(registry().removeValue(key(), u"a" + nul));
  EXPECT_EQ(registry().value(key(), u"a"), one);
}

TEST_F(WindowsRegistry, ErrorsNameTheKey) {
  try {
    registry().removeKey({RegistryRoot::localMachine, u"\\"});
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_THAT(error.what(), testing::StartsWith("remove HKEY_LOCAL_MACHINE\\"));
  }
}

}  // namespace
