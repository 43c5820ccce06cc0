#include <gtest/gtest.h>

#include "machine/registry.hpp"

namespace machine {

using namespace std::string_literals;

TEST(RegistryValue, TextIsTerminatedLittleEndian) {
  EXPECT_EQ(RegistryValue::ofText(u"a\u65E5").data, "a\0\xE5\x65\0\0"s);
  EXPECT_EQ(RegistryValue::ofText(u"").data, "\0\0"s);
  EXPECT_EQ(RegistryValue::ofText(u"a", RegistryType::multiString).data, "a\0\0\0\0\0"s);
}

TEST(RegistryValue, DwordIsFourBytesLittleEndian) {
  EXPECT_EQ(RegistryValue::ofDword(0x01020304).data, "\4\3\2\1"s);
  EXPECT_EQ(RegistryValue::ofDword(1).type, RegistryType::dword);
}

TEST(RegistryValue, TextReadsAnyTypeWithoutNulsAtTheEnd) {
  EXPECT_EQ(RegistryValue::ofText(u"text").text(), u"text");
  EXPECT_EQ(RegistryValue::ofDword(1).text(), u"\u0001"s);
  EXPECT_EQ((RegistryValue{RegistryType::binary, "a\0b\0c"s}.text()), u"ab");  // an odd byte
  EXPECT_EQ((RegistryValue{RegistryType::binary, "x"s}.text()), u"");
  EXPECT_EQ((RegistryValue{RegistryType::multiString, "a\0\0\0b\0\0\0\0\0"s}.text()), u"a\0b"s);
}

TEST(RegistryRoots, NamesAreReadBothWays) {
  for (auto const root :
       {RegistryRoot::classesRoot, RegistryRoot::currentUser, RegistryRoot::localMachine,
        RegistryRoot::users, RegistryRoot::currentConfig})
    EXPECT_EQ(registryRootFromName(registryRootName(root)), root);
  EXPECT_EQ(registryRootName(RegistryRoot::localMachine), u"HKEY_LOCAL_MACHINE");
  EXPECT_FALSE(registryRootFromName(u"HKEY_NONE"));
  EXPECT_FALSE(registryRootFromName(u""));
}

}  // namespace machine
