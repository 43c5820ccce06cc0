#include <algorithm>

#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::RegistryRoot;
using machine::RegistryType;
using machine::RegistryValue;
using machine::UString;

TEST_P(RegistryContract, CreateKeyTellsWhetherItIsNew) {
  EXPECT_FALSE(registry().keyExists(key()));
  EXPECT_TRUE(registry().createKey(key()));
  EXPECT_FALSE(registry().createKey(key()));
  EXPECT_TRUE(registry().keyExists(key()));
}

TEST_P(RegistryContract, CreateKeyMakesTheKeysAbove) {
  EXPECT_TRUE(registry().createKey(below(u"a\\b\\c")));
  EXPECT_TRUE(registry().keyExists(key()));
  EXPECT_TRUE(registry().keyExists(below(u"a\\b")));
}

TEST_P(RegistryContract, KeyPathsAreComparedWithoutRegardToCase) {
  registry().createKey(below(u"Name \u00C4\u0416"));
  EXPECT_TRUE(registry().keyExists(below(u"nAME \u00E4\u0436")));
  EXPECT_FALSE(registry().createKey(below(u"NAME \u00E4\u0436")));
  EXPECT_EQ(registry().subkeys(key()), std::vector<UString>{u"Name \u00C4\u0416"});
}

TEST_P(RegistryContract, AMissingKeyHasNothing) {
  EXPECT_FALSE(registry().value(key(), u"name"));
  EXPECT_FALSE(registry().removeValue(key(), u"name"));
  EXPECT_FALSE(registry().removeKey(key()));
  EXPECT_TRUE(registry().subkeys(key()).empty());
  EXPECT_TRUE(registry().values(key()).empty());
  EXPECT_FALSE(registry().keyExists(key()));
}

TEST_P(RegistryContract, SetValueMakesTheKey) {
  registry().setValue(below(u"sub"), u"name", RegistryValue::ofText(u"text"));
  EXPECT_EQ(registry().value(below(u"sub"), u"name"), RegistryValue::ofText(u"text"));
}

TEST_P(RegistryContract, AMissingValueIsNone) {
  registry().createKey(key());
  EXPECT_FALSE(registry().value(key(), u"name"));
  EXPECT_FALSE(registry().value(key(), u""));
}

TEST_P(RegistryContract, AValueIsOfLimitedSize) {
  RegistryValue value{RegistryType::binary, std::string(machine::largestRegistryValue, 'x')};
  registry().setValue(key(), u"large", value);
  EXPECT_EQ(registry().value(key(), u"large"), value);
  EXPECT_EQ(registry().values(key()).size(), 1u);
  value.data += 'x';
  try {
    registry().setValue(key(), u"large", value);
    ADD_FAILURE() << "was written";
  } catch (machine::SystemError const& error) {
    EXPECT_TRUE(error.is(machine::ErrorCode::fileTooLarge)) << error.what();
    EXPECT_NE(std::string(error.what()).find(machine::toUtf8(key().path)), std::string::npos);
  }
}

TEST_P(RegistryContract, ValueNamesAreComparedWithoutRegardToCase) {
  registry().setValue(key(), u"Name", RegistryValue::ofDword(1));
  registry().setValue(key(), u"NAME", RegistryValue::ofDword(2));
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofDword(2));
  ASSERT_EQ(registry().values(key()).size(), 1u);
  EXPECT_TRUE(registry().removeValue(key(), u"nAmE"));
  EXPECT_TRUE(registry().values(key()).empty());
}

TEST_P(RegistryContract, AnEmptyNameIsTheDefaultValue) {
  registry().setValue(key(), u"", RegistryValue::ofText(u"default"));
  EXPECT_EQ(registry().value(key(), u"")->text(), u"default");
  ASSERT_EQ(registry().values(key()).size(), 1u);
  EXPECT_EQ(registry().values(key())[0].first, u"");
  EXPECT_TRUE(registry().removeValue(key(), u""));
  EXPECT_FALSE(registry().value(key(), u""));
}

TEST_P(RegistryContract, AValueNameMayHoldABackslash) {
  registry().setValue(key(), u"C:\\x\\file.dll", RegistryValue::ofDword(1));
  EXPECT_TRUE(registry().value(key(), u"C:\\x\\file.dll"));
  EXPECT_TRUE(registry().subkeys(key()).empty());
}

TEST_P(RegistryContract, AValueTakesTheTypeOfTheLastWrite) {
  registry().setValue(key(), u"name", RegistryValue::ofText(u"text"));
  registry().setValue(key(), u"name", RegistryValue::ofDword(7));
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofDword(7));
}

TEST_P(RegistryContract, SetTextMakesTheKeyAndAPlainString) {
  registry().setText(below(u"sub"), u"name", u"text \u00e4");
  EXPECT_EQ(registry().value(below(u"sub"), u"name"), RegistryValue::ofText(u"text \u00e4"));
}

TEST_P(RegistryContract, SetTextKeepsAnExpandableStringExpandable) {
  registry().setValue(key(), u"name",
                      RegistryValue::ofText(u"%a%", RegistryType::expandableString));
  registry().setValue(key(), u"other", RegistryValue::ofText(u"b"));
  registry().setText(key(), u"NAME", u"%b%");
  registry().setText(key(), u"other", u"c");
  EXPECT_EQ(registry().value(key(), u"name"),
            RegistryValue::ofText(u"%b%", RegistryType::expandableString));
  EXPECT_EQ(registry().value(key(), u"other"), RegistryValue::ofText(u"c"));
}

TEST_P(RegistryContract, SetTextMakesAStringOfAnyOtherType) {
  registry().setValue(key(), u"name", RegistryValue::ofDword(7));
  registry().setText(key(), u"name", u"text");
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofText(u"text"));
}

TEST_P(RegistryContract, SetTextMakesAKeyAgainThatIsGone) {
  registry().setText(key(), u"name", u"text");
  registry().removeKey(key());
  registry().setText(key(), u"name", u"again");
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofText(u"again"));
}

TEST_P(RegistryContract, ValuesOfEveryTypeAreKeptToTheByte) {
  using namespace std::string_literals;
  std::vector<RegistryValue> const kept = {
      RegistryValue::ofText(u"text \u00E4 \u65E5 \U0001F600"),
      RegistryValue::ofText(u""),
      RegistryValue::ofText(u"%SystemRoot%\\x", RegistryType::expandableString),
      RegistryValue::ofDword(0),
      RegistryValue::ofDword(0xFFFFFFFF),
      {RegistryType::none, "\1\2\3"s},
      {RegistryType::none, ""s},
      {RegistryType::binary, "\0\xFF\0"s},
      {RegistryType::binary, ""s},
      {RegistryType::qword, "\1\2\3\4\5\6\7\xFF"s},
      {RegistryType::multiString, "a\0\0\0b\0c\0\0\0\0\0"s},
      {RegistryType::multiString, "\0\0"s},
      {RegistryType::string, "a\0b\0"s},          // without a terminator
      {RegistryType::string, "a\0\0\0b\0\0\0"s},  // a NUL within
      {RegistryType::string, "a\0\0\0\0\0"s},     // two terminators
      {RegistryType::string, "\x00\xD8\0\0"s},    // an unpaired surrogate
      {RegistryType::multiString, "a\0\0\0"s},    // without the last terminator
      {RegistryType::dword, "\1\2\3\4\5"s},       // too long
      {RegistryType::qword, "\1"s},               // too short
      {static_cast<RegistryType>(0x1234), "custom"s},
  };
  for (std::size_t i = 0; i < kept.size(); ++i) {
    UString const name{static_cast<char16_t>(u'a' + i)};
    registry().setValue(key(), name, kept[i]);
    EXPECT_EQ(registry().value(key(), name), kept[i]) << "value " << i;
  }
  auto const all = registry().values(key());
  EXPECT_EQ(all.size(), kept.size());
  for (auto const& [name, value] : all)
    EXPECT_EQ(value, kept[static_cast<std::size_t>(name.at(0) - u'a')]);
}

TEST_P(RegistryContract, SetTextMakesTheKeyAndAString) {
  registry().setText(below(u"sub"), u"name", u"text");
  EXPECT_EQ(registry().value(below(u"sub"), u"name"), RegistryValue::ofText(u"text"));
}

TEST_P(RegistryContract, SetTextKeepsAnExpandableStringOne) {
  auto const expandable = RegistryType::expandableString;
  registry().setValue(key(), u"name", RegistryValue::ofText(u"old", expandable));
  registry().setText(key(), u"NAME", u"new");
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofText(u"new", expandable));
}

TEST_P(RegistryContract, SetTextTurnsEveryOtherTypeIntoAString) {
  registry().setValue(key(), u"name", RegistryValue::ofDword(1));
  registry().setText(key(), u"name", u"new");
  EXPECT_EQ(registry().value(key(), u"name"), RegistryValue::ofText(u"new"));
}

TEST_P(RegistryContract, ALargeValueIsKept) {
  RegistryValue const large{RegistryType::binary, std::string(200'000, 'x')};
  registry().setValue(key(), u"large", large);
  EXPECT_EQ(registry().value(key(), u"large"), large);
  EXPECT_EQ(registry().values(key()).at(0).second, large);
}

TEST_P(RegistryContract, ALongValueNameIsListed) {
  UString const name(1000, u'n');
  registry().setValue(key(), name, RegistryValue::ofDword(1));
  EXPECT_EQ(registry().values(key()).at(0).first, name);
}

TEST_P(RegistryContract, ALongKeyNameIsListed) {
  UString const name(255, u'k');
  registry().createKey(below(name));
  EXPECT_EQ(registry().subkeys(key()), std::vector<UString>{name});
}

TEST_P(RegistryContract, SubkeysAreTheDirectOnes) {
  registry().createKey(below(u"b\\deep"));
  registry().createKey(below(u"a"));
  auto names = registry().subkeys(key());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<UString>{u"a", u"b"}));
}

TEST_P(RegistryContract, RemoveValueTellsWhetherItWasThere) {
  registry().setValue(key(), u"name", RegistryValue::ofDword(1));
  EXPECT_TRUE(registry().removeValue(key(), u"name"));
  EXPECT_FALSE(registry().removeValue(key(), u"name"));
  EXPECT_TRUE(registry().keyExists(key()));
}

TEST_P(RegistryContract, RemoveKeyTakesEverythingBelow) {
  registry().setValue(below(u"a\\b\\c"), u"name", RegistryValue::ofDword(1));
  registry().setValue(key(), u"name", RegistryValue::ofDword(1));
  EXPECT_TRUE(registry().removeKey(key()));
  EXPECT_FALSE(registry().keyExists(key()));
  EXPECT_FALSE(registry().keyExists(below(u"a\\b\\c")));
  EXPECT_FALSE(registry().removeKey(key()));
}

TEST_P(RegistryContract, RemoveEmptyKeyLeavesAKeyWithAnythingInIt) {
  registry().setValue(below(u"value"), u"name", RegistryValue::ofDword(1));
  registry().createKey(below(u"subkey\\a"));
  registry().createKey(below(u"empty"));
  EXPECT_FALSE(registry().removeEmptyKey(below(u"value")));
  EXPECT_TRUE(registry().value(below(u"value"), u"name"));
  EXPECT_FALSE(registry().removeEmptyKey(below(u"subkey")));
  EXPECT_TRUE(registry().keyExists(below(u"subkey\\a")));
  EXPECT_TRUE(registry().removeEmptyKey(below(u"EMPTY")));
  EXPECT_FALSE(registry().keyExists(below(u"empty")));
  EXPECT_TRUE(registry().removeEmptyKey(below(u"empty")));
}

TEST_P(RegistryContract, RemoveEmptyKeySeesWhatIsWrittenToTheOpenKey) {
  registry().createKey(below(u"a"));
  registry().setValue(below(u"a"), u"name", RegistryValue::ofDword(1));
  EXPECT_FALSE(registry().removeEmptyKey(below(u"a")));
  registry().removeValue(below(u"a"), u"name");
  EXPECT_TRUE(registry().removeEmptyKey(below(u"a")));
  registry().setValue(below(u"a"), u"again", RegistryValue::ofDword(1));
  EXPECT_FALSE(registry().value(below(u"a"), u"name"));
}

TEST_P(RegistryContract, ARootIsNoEmptyKey) {
  EXPECT_ANY_THROW({
    if (!registry().removeEmptyKey({RegistryRoot::localMachine, u""})) {
      throw std::runtime_error("not empty");
    }
  });
}

TEST_P(RegistryContract, RemoveKeyLeavesItsNeighbours) {
  registry().createKey(below(u"a"));
  registry().createKey(below(u"ab"));
  EXPECT_TRUE(registry().removeKey(below(u"A")));
  EXPECT_EQ(registry().subkeys(key()), std::vector<UString>{u"ab"});
}

TEST_P(RegistryContract, ClassesRootShowsTheMachinesClasses) {
  machine::RegistryKey const alias{RegistryRoot::classesRoot, u".contract-test"};
  machine::RegistryKey const actual{RegistryRoot::localMachine,
                                    u"SOFTWARE\\Classes\\.contract-test"};
  registry().setValue(alias, u"", RegistryValue::ofText(u"class"));
  EXPECT_EQ(registry().value(actual, u""), RegistryValue::ofText(u"class"));
  EXPECT_TRUE(registry().removeKey(alias));
  EXPECT_FALSE(registry().keyExists(actual));
}

TEST_P(RegistryContract, TheMachinePathIsAnExpandableString) {
  auto const path =
      registry().value({RegistryRoot::localMachine,
                        u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"},
                       u"Path");
  ASSERT_TRUE(path);
  EXPECT_EQ(path->type, RegistryType::expandableString);
  EXPECT_NE(machine::foldCase(path->text()).find(u"%systemroot%\\system32"), UString::npos);
}

}  // namespace contract
