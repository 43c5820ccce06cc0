#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"
#include "platform/reg/file_associations.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/redirected_shell.hpp"
#include "tests/support/substituted_machine.hpp"

namespace platform::reg {
namespace {

using machine::RegistryKey;
using machine::RegistryRoot;
using machine::RegistryType;
using machine::RegistryValue;

constexpr unsigned long productCodes[] = {4, 8, 16};
constexpr std::u16string_view extensions[] = {u".vtn",    u".vtproj",   u".vtdata", u".vsc",
                                              u".vtview", u".vtreport", u".vtpkg",  u".vtlic"};

RegistryKey classKey(std::u16string_view path) {
  return {RegistryRoot::localMachine, machine::path_grammar::join(u"SOFTWARE\\Classes", path)};
}

/// Works in the machine's own classes, where nothing of the product is before and after.
class FileAssociations : public tests::MachineTest {
 protected:
  FileAssociations() { clear(); }
  ~FileAssociations() override { clear(); }

  /// Values of a key and of all below it, by "path|name".
  using Content = std::map<UString, RegistryValue>;
  Content contentOf(RegistryKey const& key) {
    Content content;
    for (auto const& [name, value] : registry().values(key)) {
      content[key.path + u"|" + name] = value;
    }
    for (auto const& name : registry().subkeys(key)) {
      content.merge(contentOf({key.root, machine::path_grammar::join(key.path, name)}));
    }
    return content;
  }
  std::vector<RegistryKey> productKeys() {
    std::vector<RegistryKey> keys;
    for (auto const& name : registry().subkeys(classKey(u""))) {
      bool const isOurs =
          name.starts_with(u"Vortan.") ||
          std::find(std::begin(extensions), std::end(extensions), name) != std::end(extensions);
      if (isOurs) {
        keys.push_back(classKey(name));
      }
    }
    return keys;
  }
  Content products() {
    Content content;
    for (auto const& key : productKeys()) {
      content.merge(contentOf(key));
    }
    return content;
  }

  UString text(std::u16string_view path, std::u16string_view name = u"") {
    auto const value = registry().value(classKey(path), name);
    return value ? value->text() : u"(none)";
  }
  void setText(std::u16string_view path, std::u16string_view value,
               std::u16string_view name = u"") {
    registry().setValue(classKey(path), name, RegistryValue::ofText(value));
  }
  void setOther(UString const& path) { setText(path, u"another program's"); }

  UString const root_ = u"C:\\Program Files\\Vortan\\R1";
  UString const otherRoot_ = u"C:\\Program Files\\Vortan\\R2";
  tests::RedirectedShell shell_{machine().shell(), root()};
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine const scope_{(substituted_.replace(shell_), substituted_)};

 private:
  void clear() {
    for (auto const& key : productKeys()) {
      registry().removeKey(key);
    }
    registry().removeKey(classKey(u"Other.Document"));
  }
};

TEST_F(FileAssociations, AProgramIdentifierOpensItsFilesWithTheInstallation) {
  registerFileAssociations(root_, 4);
  EXPECT_EQ(text(u"Vortan.Document"), u"Vortan Document");
  EXPECT_EQ(text(u"Vortan.Document\\shell\\open\\command"),
            u"\"C:\\Program Files\\Vortan\\R1\\bin\\win64\\vortan.exe\" \"%1\"");
  EXPECT_EQ(text(u"Vortan.Document\\DefaultIcon"),
            u"C:\\Program Files\\Vortan\\R1\\bin\\win64\\vortan.exe,1");
}

TEST_F(FileAssociations, AnExtensionNamesItsProgramIdentifierTwice) {
  registerFileAssociations(root_, 4);
  EXPECT_EQ(text(u".vtn"), u"Vortan.Document");
  EXPECT_EQ(registry().value(classKey(u".vtn\\OpenWithProgids"), u"Vortan.Document"),
            (RegistryValue{RegistryType::none, ""}));
  EXPECT_EQ(text(u".vtn", u"Vortan.Previous"), u"(none)");
}

TEST_F(FileAssociations, EachProductHasFileTypesOfItsOwn) {
  std::map<unsigned long, std::vector<UString>> found;
  for (auto const code : productCodes) {
    registerFileAssociations(root_, code);
    for (auto const extension : extensions) {
      if (registry().keyExists(classKey(extension))) {
        found[code].emplace_back(extension);
      }
    }
    unregisterFileAssociations(root_, code);
  }
  EXPECT_EQ(found[4], (std::vector<UString>{u".vtn", u".vtproj", u".vtdata", u".vsc"}));
  EXPECT_EQ(found[8], (std::vector<UString>{u".vtview", u".vtreport"}));
  EXPECT_EQ(found[16], (std::vector<UString>{u".vtpkg", u".vtlic"}));
}

TEST_F(FileAssociations, UnregisteringLeavesTheRegistryAsItWas) {
  for (auto const code : productCodes) {
    registerFileAssociations(root_, code);
    EXPECT_FALSE(productKeys().empty());
    unregisterFileAssociations(root_, code);
    EXPECT_TRUE(productKeys().empty()) << code;
  }
}

TEST_F(FileAssociations, RegisteringTwiceIsTheSameAsOnce) {
  setText(u".vtn", u"Other.Document");
  registerFileAssociations(root_, 4);
  auto const once = products();
  registerFileAssociations(root_, 4);
  EXPECT_EQ(products(), once);
}

TEST_F(FileAssociations, UnregisteringWithoutRegisteringDoesNothing) {
  setText(u".vtn", u"Other.Document");
  registry().createKey(classKey(u".vtproj\\OpenWithProgids"));
  registry().createKey(classKey(u".vsc"));
  auto const before = products();
  auto const keys = productKeys();
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(products(), before);
  EXPECT_EQ(productKeys(), keys);
  EXPECT_TRUE(registry().keyExists(classKey(u".vtproj\\OpenWithProgids")));
  EXPECT_EQ(shell_.announcements, 0);
}

TEST_F(FileAssociations, UnregisteringTwiceIsTheSameAsOnce) {
  registerFileAssociations(root_, 4);
  unregisterFileAssociations(root_, 4);
  unregisterFileAssociations(root_, 4);
  EXPECT_TRUE(productKeys().empty());
  EXPECT_EQ(shell_.announcements, 2) << "one for registering, one for what was removed";
}

TEST_F(FileAssociations, TheShellIsToldOnceForAllFileTypes) {
  registerFileAssociations(root_, 4);
  EXPECT_EQ(shell_.announcements, 1);
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(shell_.announcements, 2);
}

TEST_F(FileAssociations, ProductsDoNotDisturbEachOther) {
  registerFileAssociations(root_, 8);
  auto const viewer = products();
  registerFileAssociations(root_, 4);
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(products(), viewer);
}

TEST_F(FileAssociations, TheInstallationRegisteredLastHasTheFileTypes) {
  registerFileAssociations(root_, 4);
  registerFileAssociations(otherRoot_, 4);
  auto const newer = products();
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(products(), newer) << "the older one's removal leaves the newer one's";
  unregisterFileAssociations(otherRoot_, 4);
  EXPECT_TRUE(productKeys().empty());
}

TEST_F(FileAssociations, SpellingsOfTheRootAreOneInstallation) {
  registerFileAssociations(root_, 4);
  auto const before = products();
  registerFileAssociations(u"C:/Program Files/Vortan/R1/", 4);
  EXPECT_EQ(products(), before);
  unregisterFileAssociations(u"c:\\program files\\vortan\\x\\..\\r1\\", 4);
  EXPECT_TRUE(productKeys().empty());
}

TEST_F(FileAssociations, APreviousProgramIsGivenTheExtensionBack) {
  registry().createKey(classKey(u"Other.Document"));
  setText(u".vtn", u"Other.Document");
  auto const before = products();
  registerFileAssociations(root_, 4);
  EXPECT_EQ(text(u".vtn"), u"Vortan.Document");
  EXPECT_EQ(text(u".vtn", u"Vortan.Previous"), u"Other.Document");
  registerFileAssociations(otherRoot_, 4);
  unregisterFileAssociations(otherRoot_, 4);
  EXPECT_EQ(products(), before);
}

TEST_F(FileAssociations, APreviousProgramThatIsGoneIsNotGivenTheExtensionBack) {
  setText(u".vtn", u"Other.Document");
  registerFileAssociations(root_, 4);
  unregisterFileAssociations(root_, 4);
  EXPECT_TRUE(productKeys().empty());
}

TEST_F(FileAssociations, AnExtensionThatAnotherProgramTookStaysWithIt) {
  registerFileAssociations(root_, 4);
  setText(u".vtn", u"Other.Document");
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(text(u".vtn"), u"Other.Document");
  EXPECT_FALSE(registry().keyExists(classKey(u".vtn\\OpenWithProgids")));
  EXPECT_FALSE(registry().keyExists(classKey(u"Vortan.Document")));
}

TEST_F(FileAssociations, WhatOthersPutBesideOursStays) {
  registerFileAssociations(root_, 4);
  setText(u".vtn", u"text/plain", u"Content Type");
  setText(u".vtn\\OpenWithProgids", u"", u"Other.Document");
  setOther(u".vtproj\\ShellEx");
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(text(u".vtn", u"Content Type"), u"text/plain");
  EXPECT_EQ(text(u".vtn\\OpenWithProgids", u"Other.Document"), u"");
  EXPECT_EQ(text(u".vtn\\OpenWithProgids", u"Vortan.Document"), u"(none)");
  EXPECT_EQ(text(u".vtn"), u"(none)");
  EXPECT_EQ(text(u".vtproj\\ShellEx"), u"another program's");
  EXPECT_FALSE(registry().keyExists(classKey(u".vtdata")));
}

TEST_F(FileAssociations, AUsersChoiceStays) {
  RegistryKey const choice{RegistryRoot::currentUser, registryPath() + u"\\.vtn\\UserChoice"};
  registry().setValue(choice, u"ProgId", RegistryValue::ofText(u"Vortan.Document"));
  registerFileAssociations(root_, 4);
  unregisterFileAssociations(root_, 4);
  EXPECT_EQ(registry().value(choice, u"ProgId"), RegistryValue::ofText(u"Vortan.Document"));
}

TEST_F(FileAssociations, WhatAnInterruptedRegistrationWroteIsRemoved) {
  tests::FaultyMachine faulty(substituted_);
  machine::ScopedMachine const scope(faulty);
  registerFileAssociations(root_, 4);
  auto const calls = faulty.faults().count();
  unregisterFileAssociations(root_, 4);
  for (std::size_t n = 1; n < calls; ++n) {
    faulty.faults().failAt(n, machine::ErrorCode::accessDenied);
    EXPECT_THROW(registerFileAssociations(root_, 4), machine::SystemError) << n;
    faulty.faults().failNever();
    unregisterFileAssociations(root_, 4);
    EXPECT_TRUE(productKeys().empty()) << n;
  }
}

TEST_F(FileAssociations, AnInterruptedRemovalCanBeRepeated) {
  tests::FaultyMachine faulty(substituted_);
  machine::ScopedMachine const scope(faulty);
  registerFileAssociations(root_, 4);
  faulty.faults().failAt(1'000'000, machine::ErrorCode::accessDenied);
  unregisterFileAssociations(root_, 4);
  auto const calls = faulty.faults().count();
  for (std::size_t n = 1; n < calls; ++n) {
    faulty.faults().failNever();
    registerFileAssociations(root_, 4);
    faulty.faults().failAt(n, machine::ErrorCode::accessDenied);
    EXPECT_THROW(unregisterFileAssociations(root_, 4), machine::SystemError) << n;
    faulty.faults().failNever();
    unregisterFileAssociations(root_, 4);
    EXPECT_TRUE(productKeys().empty()) << n;
  }
}

TEST_F(FileAssociations, OtherProductCodesAreRefused) {
  for (unsigned long const code : {0ul, 1ul, 2ul, 3ul, 5ul, 12ul, 28ul, 32ul, ~0ul}) {
    EXPECT_THROW(registerFileAssociations(root_, code), std::runtime_error) << code;
    EXPECT_THROW(unregisterFileAssociations(root_, code), std::runtime_error) << code;
  }
  EXPECT_TRUE(productKeys().empty());
  EXPECT_EQ(shell_.announcements, 0);
}

TEST_F(FileAssociations, ARootThatIsNoAbsolutePathIsRefused) {
  for (UString const& bad : {UString(), UString(u"Vortan"), UString(u"\\Vortan"), UString(u"C:V"),
                             UString(u"C:\\a\" -x \""), UString(u"C:\\a\0b", 6)}) {
    EXPECT_THROW(registerFileAssociations(bad, 4), std::invalid_argument);
    EXPECT_THROW(unregisterFileAssociations(bad, 4), std::invalid_argument);
  }
  EXPECT_TRUE(productKeys().empty());
}

TEST_F(FileAssociations, LongAndForeignRootsAreKept) {
  UString const longRoot = u"C:\\\u65e5\u672c\\" + UString(300, u'r');
  registerFileAssociations(longRoot, 16);
  EXPECT_EQ(text(u"Vortan.Package\\shell\\open\\command"),
            u"\"" + longRoot + u"\\bin\\win64\\vortan.exe\" \"%1\"");
  unregisterFileAssociations(longRoot, 16);
  EXPECT_TRUE(productKeys().empty());
}

}  // namespace
}  // namespace platform::reg
