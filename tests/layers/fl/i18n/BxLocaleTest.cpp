#include <gtest/gtest.h>

#include "fl/i18n/BxLocale.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/restored_value.hpp"

namespace fl::i18n {
namespace {

using machine::RegistryType;
using machine::RegistryValue;

class GlobalLocale : public tests::MachineTest {
 protected:
  GlobalLocale() {
    chosen_.remove();
    formats_.remove();
  }
  void choose(UString const& names) {
    chosen_.set(RegistryValue::ofText(names, RegistryType::multiString));
  }
  void setFormats(RegistryValue const& value) { formats_.set(value); }

 private:
  tests::RestoredValue chosen_{registry(),
                               {machine::RegistryRoot::currentUser, u"Control Panel\\Desktop"},
                               u"PreferredUILanguages"};
  tests::RestoredValue formats_{
      registry(),
      {machine::RegistryRoot::currentUser, u"Control Panel\\International"},
      u"LocaleName"};
};

TEST(BxLocale, TellsItsLanguageInSmallLetters) {
  EXPECT_EQ(BxLocale(u"de-DE").language(), u"de");
  EXPECT_EQ(BxLocale(u"DE_at").language(), u"de");
  EXPECT_EQ(BxLocale(u"fr").language(), u"fr");
  EXPECT_EQ(BxLocale(u"").language(), u"");
}

TEST_F(GlobalLocale, IsTheFirstLanguageChosenForWindows) {
  choose(UString(u"de-DE\0en-US\0", 12));
  setFormats(RegistryValue::ofText(u"fr-FR"));
  EXPECT_EQ(BxLocale::global(), BxLocale(u"de-DE"));
}

TEST_F(GlobalLocale, IsThatOfTheFormatsWhenNoneIsChosen) {
  setFormats(RegistryValue::ofText(u"fr-FR"));
  EXPECT_EQ(BxLocale::global(), BxLocale(u"fr-FR"));
  choose(UString(u"\0", 1));
  EXPECT_EQ(BxLocale::global(), BxLocale(u"fr-FR"));
}

TEST_F(GlobalLocale, IsEnglishWithoutEither) {
  EXPECT_EQ(BxLocale::global(), BxLocale(u"en-US"));
}

TEST_F(GlobalLocale, ValuesOfAnotherTypeDoNotCount) {
  setFormats(RegistryValue::ofDword(1));
  EXPECT_EQ(BxLocale::global(), BxLocale(u"en-US"));
}

TEST_F(GlobalLocale, IsEnglishWhenTheRegistryCannotBeRead) {
  choose(UString(u"de-DE\0", 6));
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](auto operation, auto) { return operation == "value"; },
                           machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(BxLocale::global(), BxLocale(u"en-US"));
}

}  // namespace
}  // namespace fl::i18n
