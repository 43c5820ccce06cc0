#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

#include "registration/commands/os/path_rewrite.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands::path_rewrite {
namespace {

/// Programs that exist, with their versions.
Installations installed(std::map<UString, UString> versions) {
  return {[versions](Path const& file) { return versions.contains(file.ustring()); },
          [versions](Path const& file) { return versions.at(file.ustring()); }};
}

UString rewritten(UString const& current, std::map<UString, UString> versions = {},
                  UString const& version = u"10.0", UString const& entry = u"C:\\Prog\\P\\bin") {
  return withEntry(current, {entry, version, u"vortan.exe"}, installed(std::move(versions)));
}

TEST(PathRewrite, NewestIsPlacedBeforeAnOlderInstallation) {
  std::map<UString, UString> const versions{{u"C:\\Old\\bin\\win64\\vortan.exe", u"9.0.0.0"}};
  EXPECT_EQ(rewritten(u"C:\\Windows;C:\\Old\\bin;C:\\x", versions),
            u"C:\\Windows;C:\\Prog\\P\\bin;C:\\Old\\bin;C:\\x;");
}

TEST(PathRewrite, EqualVersionIsPlacedBefore) {
  std::map<UString, UString> const versions{{u"C:\\Old\\bin\\win64\\vortan.exe", u"10.0.0.0"}};
  EXPECT_EQ(rewritten(u"C:\\Old\\bin", versions), u"C:\\Prog\\P\\bin;C:\\Old\\bin;");
}

TEST(PathRewrite, OlderThanWhatIsThereGoesToTheEnd) {
  std::map<UString, UString> const versions{{u"C:\\Old\\bin\\win64\\vortan.exe", u"11.0"}};
  EXPECT_EQ(rewritten(u"C:\\Old\\bin;C:\\x", versions), u"C:\\Old\\bin;C:\\x;C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, BetweenNewerAndOlderInstallations) {
  std::map<UString, UString> const versions{{u"C:\\11\\bin\\win64\\vortan.exe", u"11.0"},
                                            {u"C:\\9\\bin\\win64\\vortan.exe", u"9.0"},
                                            {u"C:\\8\\bin\\win64\\vortan.exe", u"8.0"}};
  EXPECT_EQ(rewritten(u"C:\\11\\bin;C:\\9\\bin;C:\\8\\bin", versions),
            u"C:\\11\\bin;C:\\Prog\\P\\bin;C:\\9\\bin;C:\\8\\bin;");
}

TEST(PathRewrite, BinFolderWithoutTheProgramIsPassedBy) {
  EXPECT_EQ(rewritten(u"C:\\Other\\bin;C:\\x"), u"C:\\Other\\bin;C:\\x;C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, FollowsTheCompilerRuntimeOfItsOwnRoot) {
  EXPECT_EQ(rewritten(u"C:\\a;C:\\Prog\\P\\runtime\\win64;C:\\b"),
            u"C:\\a;C:\\Prog\\P\\runtime\\win64;C:\\Prog\\P\\bin;C:\\b;");
  EXPECT_EQ(rewritten(u"c:\\PROG\\p\\Runtime\\WIN64"),
            u"c:\\PROG\\p\\Runtime\\WIN64;C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, AnotherRootsCompilerRuntimeIsJudgedByItsProgram) {
  std::map<UString, UString> const versions{{u"C:\\Old\\bin\\win64\\vortan.exe", u"9.0"}};
  EXPECT_EQ(rewritten(u"C:\\Old\\runtime\\win64", versions),
            u"C:\\Prog\\P\\bin;C:\\Old\\runtime\\win64;");
}

TEST(PathRewrite, EmptyEntriesVanishAndEveryEntryIsEnded) {
  EXPECT_EQ(rewritten(u";C:\\a;;C:\\b;;"), u"C:\\a;C:\\b;C:\\Prog\\P\\bin;");
  EXPECT_EQ(rewritten(u""), u"C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, UnexpandedEntriesStayAsTheyAre) {
  EXPECT_EQ(rewritten(u"%SystemRoot%\\system32;%SystemRoot%"),
            u"%SystemRoot%\\system32;%SystemRoot%;C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, EntriesAreShorterThanTheirEndings) {
  EXPECT_EQ(rewritten(u"b;in;bin;\\bin"), u"b;in;bin;\\bin;C:\\Prog\\P\\bin;");
}

TEST(PathRewrite, FileThatCannotBeReadKeepsItsEntryAndTheLoopGoesOn) {
  Installations const failing{[](Path const&) { return true; },
                              [](Path const& file) -> UString {
                                if (file.ustring().starts_with(u"C:\\Bad")) {
                                  throw 42;  // not even a standard exception stops the loop
                                }
                                return u"1.0";
                              }};
  EXPECT_EQ(withEntry(u"C:\\Bad\\bin;C:\\Old\\bin", {u"C:\\N\\bin", u"2.0", u"v.exe"}, failing),
            u"C:\\Bad\\bin;C:\\N\\bin;C:\\Old\\bin;");
}

TEST(PathRewrite, OnlyTheFirstFittingPlaceIsTaken) {
  std::map<UString, UString> const versions{{u"C:\\9\\bin\\win64\\vortan.exe", u"9.0"}};
  EXPECT_EQ(rewritten(u"C:\\9\\bin;C:\\Prog\\P\\runtime\\win64", versions),
            u"C:\\Prog\\P\\bin;C:\\9\\bin;C:\\Prog\\P\\runtime\\win64;");
}

TEST(PathRewrite, VersionsAreAskedOnlyOfProgramsThatExist) {
  Installations const none{[](Path const&) { return false; },
                           [](Path const&) -> UString { throw std::logic_error("asked"); }};
  EXPECT_EQ(withEntry(u"C:\\Old\\bin", {u"C:\\N\\bin", u"2.0", u"v.exe"}, none),
            u"C:\\Old\\bin;C:\\N\\bin;");
}

TEST(GetExecutableFilePath, LiesBelowWin64) {
  EXPECT_EQ(getExecutableFilePath(u"C:\\P\\bin", u"v.exe").ustring(), u"C:\\P\\bin\\win64\\v.exe");
}

TEST(GetExecutableFilePath, LiesInTheFolderItselfForQindle) {
  EXPECT_EQ(getExecutableFilePath(u"C:\\qindle\\bin", u"v.exe").ustring(),
            u"C:\\qindle\\bin\\v.exe");
  EXPECT_EQ(getExecutableFilePath(u"C:\\Qindle\\bin", u"v.exe").ustring(),
            u"C:\\Qindle\\bin\\win64\\v.exe");
}

TEST(GetExecutableFilePath, EmptyPartsAddNothing) {
  EXPECT_EQ(getExecutableFilePath(u"", u"v.exe").ustring(), u"win64\\v.exe");
  EXPECT_EQ(getExecutableFilePath(u"C:\\P\\bin", u"").ustring(), u"C:\\P\\bin\\win64");
}

TEST(GetExecutableFilePathCompiler, LiesInTheBinFolderBesideTheRuntime) {
  EXPECT_EQ(getExecutableFilePathCompiler(u"C:\\P\\runtime\\win64", u"v.exe").ustring(),
            u"C:\\P\\bin\\win64\\v.exe");
}

TEST(GetExecutableFilePathCompiler, ShorterEntryIsTakenWhole) {
  EXPECT_EQ(getExecutableFilePathCompiler(u"C:\\P", u"v.exe").ustring(),
            u"C:\\P\\bin\\win64\\v.exe");
}

TEST(IsBinPath, ComparesTheLastThreeUnitsAsGiven) {
  EXPECT_TRUE(isBinPath(u"c:\\p\\bin"));
  EXPECT_TRUE(isBinPath(u"cabin"));
  EXPECT_FALSE(isBinPath(u"C:\\P\\BIN"));
  EXPECT_FALSE(isBinPath(u"in"));
  EXPECT_FALSE(isBinPath(u"c:\\p\\bin\\"));
}

TEST(IsCompilerPath, EndsWithTheRuntimeFolder) {
  EXPECT_TRUE(isCompilerPath(u"c:\\p\\runtime\\win64"));
  EXPECT_TRUE(isCompilerPath(u"\\runtime\\win64"));
  EXPECT_FALSE(isCompilerPath(u"runtime\\win64"));
}

TEST(IsTheSameRoot, ComparesWithoutTheEndings) {
  EXPECT_TRUE(isTheSameRoot(u"c:\\p\\bin", u"c:\\p\\runtime\\win64"));
  EXPECT_FALSE(isTheSameRoot(u"c:\\q\\bin", u"c:\\p\\runtime\\win64"));
  EXPECT_TRUE(isTheSameRoot(u"\\bin", u"\\runtime\\win64")) << "both roots are empty";
  EXPECT_TRUE(isTheSameRoot(u"bin", u"bin")) << "shorter than what is cut: taken whole";
}

TEST(UpdatePath, AppendsInTheOrderOfThePlacement) {
  auto const appended = [](Placement placement) {
    UString path = u"a;";
    updatePath(path, u"entry", u"new", placement);
    return path;
  };
  EXPECT_EQ(appended(Placement::keep), u"a;entry;");
  EXPECT_EQ(appended(Placement::after), u"a;entry;new;");
  EXPECT_EQ(appended(Placement::before), u"a;new;entry;");
}

TEST(Contains, LooksAnywhereWithoutRegardToCase) {
  EXPECT_TRUE(contains(u"c:\\prog\\p\\bin\\x", u"C:\\Prog\\P\\bin"));
  EXPECT_FALSE(contains(u"C:\\Prog", u"C:\\Prog\\P"));
}

TEST(WithoutEntry, RemovesTheFirstExactOccurrenceOnly) {
  EXPECT_EQ(withoutEntry(u"C:\\a;C:\\n;C:\\n;", u"C:\\n"), u"C:\\a;C:\\n;");
  EXPECT_EQ(withoutEntry(u"C:\\a;c:\\N;", u"C:\\n"), u"C:\\a;c:\\N;");
  EXPECT_EQ(withoutEntry(u"C:\\a;C:\\n", u"C:\\n"), u"C:\\a;C:\\n") << "no separator behind it";
}

/// Whatever the machine's value is: no entry is lost or reordered, the new one is in it once more
/// than before, and taking it out gives the same entries back.
TEST(PathRewrite, KeepsEveryEntryOfAnyValue) {
  std::mt19937 random(20261121);
  char16_t const units[] = {u'a', u'B', u';', u';', u'\\', u'%', u' ', u'"', u'\u00e9', u'\u65e5'};
  UString const endings[] = {u"bin", u"\\runtime\\win64", u"", u"x"};
  Installations const some{
      [&](Path const& file) { return file.ustring().size() % 2 == 0; },
      [&](Path const& file) { return file.ustring().size() % 3 == 0 ? u"9.0" : u"11.0"; }};
  for (int round = 0; round < 20000; ++round) {
    UString current;
    for (std::size_t n = random() % 40; n > 0; --n) {
      current += random() % 8 == 0 ? endings[random() % 4] : UString(1, units[random() % 10]);
    }
    UString const entry = u"C:\\New\\bin";
    UString const path = withEntry(current, {entry, u"10.0", u"v.exe"}, some);

    auto kept = utility::split(current, ';');
    std::erase(kept, UString());
    auto const found = utility::split(path, ';');
    ASSERT_EQ(found.size(), kept.size() + 1);
    ASSERT_EQ(std::count(found.begin(), found.end(), entry), 1);
    ASSERT_EQ(utility::split(withoutEntry(path, entry), ';'), kept);
  }
}

}  // namespace
}  // namespace registration::commands::path_rewrite
