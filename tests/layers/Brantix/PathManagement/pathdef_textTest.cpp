#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "Brantix/PathManagement/pathdef_text.hpp"
#include "Brantix/PathManagement/text_lines.hpp"
#include "tests/support/iri_printing.hpp"

namespace Brantix::PathManagement {
namespace {

using fl::i18n::UString;
using foundation::core::except::Notification;
using foundation::core::except::Warning;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using Paths = std::vector<UString>;

CanonicalAbsoluteIRI iri(UString const& path) {
  return CanonicalAbsoluteIRI::ofWindowsPath(path);
}

std::vector<AbsoluteIRI> iris(Paths const& paths) {
  std::vector<AbsoluteIRI> result;
  for (auto const& path : paths) {
    result.push_back(iri(path));
  }
  return result;
}

class PathdefText : public ::testing::Test {
 protected:
  Paths read(std::string const& text, UString const& root = u"C:\\root") {
    Paths paths;
    for (auto const& entry : entriesOf(text, u"F", iri(root), notification_)) {
      paths.push_back(windowsPath(entry));
    }
    return paths;
  }
  static std::string written(Paths const& paths, UString const& root = u"C:\\root") {
    return pathdefText(iris(paths), iri(root));
  }
  std::vector<Warning> const& warnings() const { return notification_.warnings(); }
  /// The lines warned about.
  std::vector<std::size_t> badLines() const {
    std::vector<std::size_t> lines;
    for (auto const& warning : warnings()) {
      EXPECT_EQ(warning.location, u"F");
      EXPECT_FALSE(warning.reason.empty());
      lines.push_back(warning.line);
    }
    return lines;
  }

 private:
  Notification notification_;
};

TEST_F(PathdefText, IsWrittenWithVersionAndComment) {
  EXPECT_EQ(written({u"C:\\root\\toolbox\\a b", u"D:\\gr\u00f6\u00dfen 100%", u"C:\\root",
                     u"\\\\srv\\share\\x", u"C:\\rooted"}),
            "pathdef 1\n"
            "# Written by the installer. The folders that are searched, in this order; $root is "
            "the installation folder.\n"
            "\"$root\\toolbox\\a b\"\n"
            "\"D:\\gr\xC3\xB6\xC3\x9F"
            "en 100%\"\n"
            "\"$root\"\n"
            "\"\\\\srv\\share\\x\"\n"
            "\"C:\\rooted\"\n");
}

TEST_F(PathdefText, OddNamesComeBackExactly) {
  Paths const odd{u"C:\\root\\it's",
                  u"C:\\root\\100%",
                  u"C:\\root\\%41",
                  u"C:\\root\\%PATH%",
                  u"C:\\root\\#a",
                  u"C:\\root\\ leading",
                  u"C:\\root\\$root",
                  u"C:\\$root\\a",
                  u"C:\\root\\a;b,c",
                  u"C:\\root\\[a]{b}",
                  u"C:\\ROOT\\a",
                  u"C:\\root\\ROOT",
                  u"C:\\root\\gr\u00f6\u00dfe",
                  u"C:\\root\\e\u0301",
                  u"C:\\root\\\U0001F600",
                  u"C:\\root\\\u2028",
                  u"C:\\root\\\u00a0",
                  u"C:\\root\\\uFEFF",
                  u"C:\\root\\\uFFFD",
                  u"C:\\root\\\u0085",
                  u"C:\\root\\\u007f",
                  u"C:\\root\\\u202E",
                  u"\\\\srv\\s$\\a",
                  u"C:\\",
                  u"C:\\root",
                  u"D:\\" + UString(30000, u'x')};
  EXPECT_EQ(read(written(odd)), odd);
  EXPECT_EQ(badLines(), std::vector<std::size_t>{25}) << "the one on a server";
}

TEST_F(PathdefText, RootsOfDrivesAndSharesComeBackExactly) {
  Paths const paths{u"C:\\", u"C:\\a", u"\\\\srv\\share", u"\\\\srv\\share\\a"};
  for (auto const* root : {u"C:\\", u"\\\\srv\\share"}) {
    EXPECT_EQ(read(written(paths, root), root), paths);
  }
}

TEST_F(PathdefText, AMovedInstallationTakesItsEntriesAlong) {
  EXPECT_EQ(read(written({u"C:\\root\\a", u"D:\\b"}), u"E:\\new home"),
            (Paths{u"E:\\new home\\a", u"D:\\b"}));
}

TEST_F(PathdefText, AFolderInAnotherCaseThanTheRootStaysAsItIs) {
  EXPECT_NE(written({u"C:\\ROOT\\a"}).find("\"C:\\ROOT\\a\""), std::string::npos);
}

TEST_F(PathdefText, OrderAndRepetitionsAreKept) {
  Paths const paths{u"C:\\b", u"C:\\a", u"C:\\b"};
  EXPECT_EQ(read(written(paths)), paths);
}

TEST_F(PathdefText, AQuotationMarkIsDoubled) {
  // No name in Windows holds one; it is read as such, and refused as such.
  EXPECT_TRUE(read("pathdef 1\n\"C:\\a\"\"b\"\n").empty());
  ASSERT_EQ(warnings().size(), 1u);
  EXPECT_NE(warnings()[0].reason.find(u"C:\\a\"b"), UString::npos);
}

TEST_F(PathdefText, BlanksCarriageReturnsByteOrderMarkAndAMissingLastLineFeedAreTaken) {
  EXPECT_EQ(read("\xEF\xBB\xBF\r\n# x\r\npathdef 1\r\n\r\n \t\"C:\\a\" \r\n  # y\r\n\"C:\\b\""),
            (Paths{u"C:\\a", u"C:\\b"}));
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefText, SpellingsAreMadeCanonical) {
  EXPECT_EQ(read("pathdef 1\n\"c:/a/./x/../b/\"\n\"$root\\\"\n\"$root\\.\\a. \"\n"),
            (Paths{u"C:\\a\\b", u"C:\\root", u"C:\\root\\a"}));
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefText, AMalformedLineIsAWarningAndLosesNothingElse) {
  EXPECT_EQ(read("pathdef 1\n"
                 "\"C:\\first\"\n"
                 "C:\\bare\n"             // 3
                 "\"C:\\open\n"           // 4
                 "\"\n"                   // 5
                 "\"\"\n"                 // 6
                 "\"C:\\a\" \"C:\\b\"\n"  // 7
                 "\"C:\\a\"x\n"           // 8
                 "\"C:\\a\" # x\n"        // 9
                 "\"C:\\a\"\"\n"          // 10
                 "\"relative\"\n"         // 11
                 "\"C:drive\"\n"          // 12
                 "\"C:\\\xFF\"\n"         // 13
                 "\"C:\\a*\"\n"           // 14
                 "\"$rooted\\a\"\n"       // 15
                 "\"$ROOT\\a\"\n"         // 16
                 "\"$root/a\"\n"          // 17
                 "\"file:///C:/a\"\n"     // 18
                 "pathdef 1\n"            // 19
                 "\"C:\\last\"\n"),
            (Paths{u"C:\\first", u"C:\\last"}));
  EXPECT_EQ(badLines(), (std::vector<std::size_t>{3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                                  17, 18, 19}));
}

TEST_F(PathdefText, AnEntryThatClimbsOutOfTheRootIsRefused) {
  EXPECT_EQ(read("pathdef 1\n\"$root\\..\\x\"\n\"$root\\a\\..\\..\\root2\"\n\"$root\\a\\..\\b\"\n"),
            Paths{u"C:\\root\\b"});
  EXPECT_EQ(badLines(), (std::vector<std::size_t>{2, 3}));
}

TEST_F(PathdefText, NulsAreRefused) {
  EXPECT_TRUE(read(std::string("pathdef 1\n\"C:\\a\0b\"\n", 18)).empty());
  EXPECT_EQ(badLines(), std::vector<std::size_t>{2});
}

TEST_F(PathdefText, AMissingOrUnknownVersionIsAWarningAndTheLinesAreRead) {
  EXPECT_EQ(read("\"C:\\a\"\n"), Paths{u"C:\\a"});
  EXPECT_EQ(read("# x\npathdef 2\n\"C:\\b\"\n"), Paths{u"C:\\b"});
  EXPECT_EQ(badLines(), (std::vector<std::size_t>{1, 2}));
}

TEST_F(PathdefText, AnEmptyTextHasNoEntries) {
  EXPECT_TRUE(read("").empty());
  EXPECT_TRUE(read("\n\n# x\n").empty());
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefText, WhateverIsReadComesBackFromWhatIsWritten) {
  constexpr std::string_view pieces[] = {
      "\"", "$root", "\n\"$root\\", "\n\"C:\\", "\\",  "C:",       "/",    "..",
      ".",  "\xFF",  "\n\"",        " ",        "%5C", "\xC3\xA4", "\"\n", "a"};
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): the same texts every time
  std::size_t entries = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text = "pathdef 1\n";
    for (int piece = 0; piece < 60; ++piece) {
      text += pieces[random() % std::size(pieces)];
    }
    auto const paths = read(text);
    entries += paths.size();
    ASSERT_EQ(read(written(paths)), paths) << text;
  }
  EXPECT_GT(entries, 500u);
}

TEST_F(PathdefText, ALineThatIsTooLongLosesOnlyItself) {
  std::string const tooLong = "\"C:\\" + std::string(200'000, 'x') + "\"\n";
  std::string const blank = std::string(200'000, ' ') + "\"C:\\blank\"\n";
  std::string const comment = "#" + std::string(200'000, 'x') + "\n";
  EXPECT_EQ(read("pathdef 1\n" + tooLong + "\"C:\\a\"\n" + blank + comment + "\"C:\\b\""),
            (Paths{u"C:\\a", u"C:\\b"}));
  EXPECT_EQ(badLines(), (std::vector<std::size_t>{2, 4}));
  EXPECT_EQ(warnings().front().reason, u"longer than 131072 bytes, the most a line may be");
}

TEST_F(PathdefText, OfManyWrongLinesTheFirstAreTold) {
  std::string text = "pathdef 1\n";
  for (int line = 0; line < 5000; ++line) {
    text += "x\n";
  }
  EXPECT_EQ(read(text + "\"C:\\a\"\n"), Paths{u"C:\\a"});
  ASSERT_EQ(warnings().size(), TextLines::warningsTold + 1);
  EXPECT_EQ(warnings().back().line, TextLines::warningsTold + 2);
}

}  // namespace
}  // namespace Brantix::PathManagement
