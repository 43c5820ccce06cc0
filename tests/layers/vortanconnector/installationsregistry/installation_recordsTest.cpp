#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "vortanconnector/installationsregistry/installation_records.hpp"

namespace vortanconnector::installationsregistry {
namespace {

constexpr char const* now = "2026-11-21T08:30:00.000Z";

constexpr char const* oneRecord = R"({
  "version": 1,
  "installations": [
    {
      "root": "C:\\Program Files\\Vortan\\R1",
      "added": "2026-11-21T08:30:00.000Z"
    }
  ]
}
)";

std::string refusalOf(std::string const& text) {
  try {
    withRecord(text, u"C:\\x", now);
    return "accepted";
  } catch (std::runtime_error const& error) {
    return error.what();
  }
}

bool mentions(std::string const& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

TEST(InstallationRecords, TheFirstRecordMakesTheFile) {
  EXPECT_EQ(withRecord(std::nullopt, u"C:\\Program Files\\Vortan\\R1", now), oneRecord);
}

TEST(InstallationRecords, ARecordedRootChangesNothing) {
  for (auto const* const root : {u"C:\\Program Files\\Vortan\\R1", u"c:\\PROGRAM files\\vortan\\r1",
                                 u"\\\\?\\C:\\Program Files\\Vortan\\R1"}) {
    EXPECT_EQ(withRecord(oneRecord, root, "later"), std::nullopt);
  }
}

TEST(InstallationRecords, AnotherRootComesAfter) {
  auto const text = withRecord(oneRecord, u"D:\\\u00e4\u65e5\\R2", now);
  ASSERT_TRUE(text);
  EXPECT_TRUE(mentions(*text, R"("root": "D:\\ä日\\R2")")) << *text;
  EXPECT_LT(text->find("R1"), text->find("R2"));
  EXPECT_EQ(withRecord(*text, u"D:\\\u00e4\u65e5\\R2", now), std::nullopt);
}

TEST(InstallationRecords, WhatOthersAddedIsKept) {
  auto const text = withRecord(
      R"({"zeta": [1, {"b": 1, "a": 2}], "version": 1,
          "installations": [{"note": "mine", "root": "C:\\a"}], "alpha": null})",
      u"C:\\b", now);
  ASSERT_TRUE(text);
  for (auto const* const part : {"zeta", "\"note\": \"mine\"", "alpha", "null"}) {
    EXPECT_TRUE(mentions(*text, part)) << *text;
  }
  EXPECT_LT(text->find("zeta"), text->find("alpha")) << "in its order";
}

TEST(InstallationRecords, DamagedTextIsRefusedWithPlaceAndReason) {
  EXPECT_TRUE(mentions(refusalOf(""), "1:1: not JSON")) << refusalOf("");
  EXPECT_TRUE(mentions(refusalOf("{\n\"version\": 1,"), "2:14: not JSON"));
  EXPECT_TRUE(mentions(refusalOf("{\"version\": 1, \"\xff\": 1}"), "UTF-8"));
  EXPECT_TRUE(mentions(refusalOf("[]"), "must be an object"));
  EXPECT_TRUE(mentions(refusalOf("{}"), "/version: must be a whole number"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": "1"})"), "/version: must be a whole number"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 1})"), "/installations: must be an array"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 1, "installations": {}})"), "must be an array"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 1, "installations": [{"root": "C:\\a"}, {}]})"),
                       "/installations/1/root: must be a string"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 1, "installations": [{"root": 1}]})"),
                       "/installations/0/root: must be a string"));
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 1, "installations": ["C:\\a"]})"),
                       "/installations/0/root: must be a string"));
}

TEST(InstallationRecords, ANewerVersionIsRefused) {
  EXPECT_TRUE(mentions(refusalOf(R"({"version": 2, "installations": []})"),
                       "/version: version 2 is not known"));
}

TEST(InstallationRecords, AMemberThatIsThereTwiceIsRefused) {
  EXPECT_TRUE(mentions(
      refusalOf(R"({"version": 1, "installations": [{"root": "C:\\a"}], "installations": []})"),
      "/installations: given more than once"));
}

TEST(InstallationRecords, DeeplyNestedTextIsNoDanger) {
  EXPECT_TRUE(mentions(refusalOf(std::string(200000, '[')), "nested deeper than 32 levels"));
}

TEST(InstallationRecords, WhatWouldBeWrittenBackTooDeepIsRefused) {
  auto const nested = [](std::size_t levels) {
    return R"({"version": 1, "installations": [], "x": )" + std::string(levels, '[') +
           std::string(levels, ']') + "}";
  };
  EXPECT_TRUE(mentions(refusalOf(nested(10'000)), "nested deeper than 32 levels"));
  EXPECT_EQ(refusalOf(nested(31)), "accepted");
}

TEST(InstallationRecords, ManyThingsOfOthersAreKept) {
  std::string list = "{}";
  for (int i = 1; i < 200'000; ++i) list += ",{}";
  auto const text =
      withRecord(R"({"version": 1, "installations": [], "x": [)" + list + "]}", u"C:\\a", now);
  ASSERT_TRUE(text);
  EXPECT_EQ(std::count(text->begin(), text->end(), '{'), 200'000 + 2);
}

TEST(NormalizedRoot, IsNativeAndWithoutSeparatorsAtTheEnd) {
  EXPECT_EQ(normalizedRoot(u"C:/Program Files//Vortan/"), u"C:\\Program Files\\Vortan");
  EXPECT_EQ(normalizedRoot(u"C:\\a\\\\\\"), u"C:\\a");
  EXPECT_EQ(normalizedRoot(u"C:\\a\\.\\b\\..\\c"), u"C:\\a\\c");
  EXPECT_EQ(normalizedRoot(u"C:\\"), u"C:\\");
  EXPECT_EQ(normalizedRoot(u"\\\\srv\\share\\a\\"), u"\\\\srv\\share\\a");
  EXPECT_EQ(normalizedRoot(u"\\\\?\\C:\\a\\"), u"\\\\?\\C:\\a");
}

TEST(NormalizedRoot, IsEmptyForWhatIsNotAbsolute) {
  for (auto const* const root : {u"", u"a", u"\\a", u"C:a", u"..\\a"}) {
    EXPECT_EQ(normalizedRoot(root), u"");
  }
}

TEST(IsSameRoot, ComparesAsWindowsComparesPaths) {
  EXPECT_TRUE(isSameRoot(u"C:\\\u00c4", u"c:/\u00e4/"));
  EXPECT_TRUE(isSameRoot(u"\\\\?\\UNC\\srv\\share\\a", u"\\\\SRV\\share\\A"));
  EXPECT_TRUE(isSameRoot(u"\\\\?\\Volume{1}\\a\\", u"\\\\?\\volume{1}\\A"));
  EXPECT_FALSE(isSameRoot(u"C:\\a", u"C:\\ab"));
  EXPECT_FALSE(isSameRoot(u"C:\\a", u"D:\\a"));
  EXPECT_FALSE(isSameRoot(u"", u""));
}

TEST(IsSameRoot, OfAShareOrDriveWithAndWithoutASeparatorAtTheEnd) {
  EXPECT_TRUE(isSameRoot(u"\\\\srv\\share\\", u"\\\\srv\\share"));
  EXPECT_TRUE(isSameRoot(u"\\\\?\\UNC\\srv\\share\\", u"\\\\srv\\share"));
  EXPECT_TRUE(isSameRoot(u"\\\\?\\C:\\", u"C:\\"));
  EXPECT_TRUE(isSameRoot(u"\\\\", u"\\\\"));
}

TEST(IsSameRoot, ASlashInAVerbatimPathIsPartOfAName) {
  EXPECT_FALSE(isSameRoot(u"\\\\?\\/\\srv\\share", u"\\\\srv\\share"));
  EXPECT_FALSE(isSameRoot(u"\\\\?\\C:\\a/b", u"C:\\a\\b"));
  EXPECT_TRUE(isSameRoot(u"\\\\?\\C:\\a/", u"C:\\a"));
}

}  // namespace
}  // namespace vortanconnector::installationsregistry
