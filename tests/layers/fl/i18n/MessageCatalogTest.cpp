#include <gtest/gtest.h>

#include "fl/i18n/MessageCatalog.hpp"

namespace fl::i18n {
namespace {

constexpr char const* keys[] = {"invalidLocation",  "permissionDenied", "resourceNotFound",
                                "readOnlyProvider", "fileTooLarge",     "resourceInUse",
                                "noSpaceLeft",      "ioError",          "unknownError"};

UString message(char const* key, std::vector<UString> const& arguments,
                UString const& locale = u"en-US") {
  return MessageCatalog::get_message({"VORTAN:virtualfilesystem", key, arguments},
                                     BxLocale(locale));
}

TEST(MessageCatalog, PutsTheArgumentInItsPlace) {
  EXPECT_EQ(message("fileTooLarge", {u"C:\\a"}), u"\"C:\\a\" is too large.");
}

TEST(MessageCatalog, SpeaksTheLanguageOfTheLocale) {
  EXPECT_EQ(message("fileTooLarge", {u"C:\\a"}, u"de-AT"), u"\u201eC:\\a\u201c ist zu gro\u00df.");
}

TEST(MessageCatalog, SpeaksEnglishForALocaleItDoesNotKnow) {
  for (auto const* locale : {u"ja-JP", u"", u"no such locale"}) {
    EXPECT_EQ(message("fileTooLarge", {u"C:\\a"}, locale), u"\"C:\\a\" is too large.");
  }
}

TEST(MessageCatalog, HasAllNineTextsOfTheVirtualFileSystemInBothLanguages) {
  for (auto const* key : keys) {
    auto const english = message(key, {u"C:\\somewhere"});
    auto const german = message(key, {u"C:\\somewhere"}, u"de-DE");
    EXPECT_NE(english.find(u"\"C:\\somewhere\""), UString::npos) << key;
    EXPECT_NE(german.find(u"\u201eC:\\somewhere\u201c"), UString::npos) << key;
    EXPECT_NE(english, german) << key;
  }
}

TEST(MessageCatalog, AnArgumentIsNotLookedThroughForPlaces) {
  EXPECT_EQ(message("fileTooLarge", {u"{0}{1}{", u"x"}), u"\"{0}{1}{\" is too large.");
}

TEST(MessageCatalog, APlaceWithoutAnArgumentStays) {
  EXPECT_EQ(message("fileTooLarge", {}), u"\"{0}\" is too large.");
}

TEST(MessageCatalog, AnUnknownMessageIsItsOwnDescription) {
  EXPECT_EQ(message("noSuchKey", {u"C:\\a", u"b"}), u"VORTAN:virtualfilesystem:noSuchKey C:\\a b");
  EXPECT_EQ(MessageCatalog::get_message({"other", "ioError", {}}, BxLocale(u"de")),
            u"other:ioError");
}

}  // namespace
}  // namespace fl::i18n
