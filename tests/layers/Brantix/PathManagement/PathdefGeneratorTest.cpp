#include <gtest/gtest.h>

#include "Brantix/PathManagement/pathdef_generator.hpp"
#include "bundles/localstorage/local_storage.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/iri_printing.hpp"
#include "tests/support/machine_fixture.hpp"

namespace Brantix::PathManagement {
namespace {

using fl::i18n::UString;
using foundation::core::except::Notification;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using foundation::storage::vfs::ErrorCode;
using foundation::storage::vfs::Exception;
using Paths = std::vector<UString>;

class PathdefGeneratorTest : public tests::MachineTest {
 protected:
  PathdefGenerator generator() const {
    return {CanonicalAbsoluteIRI::ofWindowsPath(root()),
            std::make_shared<localstorage::LocalStorage>()};
  }
  UString pathdef() const { return at(u"sys\\path\\pathdef.vsc"); }
  static Paths pathsOf(std::vector<AbsoluteIRI> const& iris) {
    Paths paths;
    for (auto const& iri : iris) {
      paths.push_back(windowsPath(iri));
    }
    return paths;
  }
  Paths derived() {
    return pathsOf(generator().getDerivedEntries(generator().getToolboxFolder(), notification_));
  }
  Paths read() {
    return pathsOf(generator().readEntries(generator().getPathdefFile(), notification_));
  }
  void write(Paths const& paths) {
    std::vector<AbsoluteIRI> iris;
    for (auto const& path : paths) {
      iris.push_back(CanonicalAbsoluteIRI::ofWindowsPath(path));
    }
    generator().writeEntries(iris);
  }
  std::vector<foundation::core::except::Warning> const& warnings() const {
    return notification_.warnings();
  }

 private:
  Notification notification_;
};

TEST_F(PathdefGeneratorTest, TheDefinitionFileLiesInTheInstallation) {
  EXPECT_EQ(windowsPath(generator().getPathdefFile()), pathdef());
  EXPECT_EQ(windowsPath(generator().getToolboxFolder()), at(u"toolbox"));
}

TEST_F(PathdefGeneratorTest, AFolderOnAnotherServerIsToldWithItsLineAndStaysAnEntry) {
  makeDirectory(at(u"sys\\path"));
  writeFile(pathdef(), "pathdef 1\n\"\\\\evil\\share\"\n");
  writeFile(at(u"ssiSearchFolders"), "toolbox\\a\n\n\\\\evil\\other\n");
  EXPECT_EQ(read(), Paths{u"\\\\evil\\share"});
  EXPECT_EQ(derived(), (Paths{at(u"toolbox\\a"), u"\\\\evil\\other"}));
  ASSERT_EQ(warnings().size(), 2u);
  EXPECT_EQ(warnings()[0].text(), pathdef() +
                                      u", line 2: \\\\evil\\share leads to evil, not to where the "
                                      u"product is: this computer makes itself known there");
  EXPECT_EQ(warnings()[1].line, 3u);
}

TEST_F(PathdefGeneratorTest, AnEmptyInstallationAsksForNothing) {
  EXPECT_TRUE(derived().empty());
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefGeneratorTest, TheMetadataFileIsTakenInItsOrderFromTheRoot) {
  writeFile(at(u"ssiSearchFolders"),
            "# a comment\ntoolbox/b\r\n\n  a \nC:\\elsewhere\\x\n..\\beside\ntoolbox/b\n");
  auto const beside = machine::path_grammar::join(machine::path_grammar::parent(root()), u"beside");
  EXPECT_EQ(derived(),
            (Paths{at(u"toolbox\\b"), at(u"a"), u"C:\\elsewhere\\x", beside, at(u"toolbox\\b")}));
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefGeneratorTest, MetadataLinesThatNameNoFolderAreWarnings) {
  writeFile(at(u"ssiSearchFolders"), "a\nb\xFF\nc*\nd\n");
  EXPECT_EQ(derived(), (Paths{at(u"a"), at(u"d")}));
  ASSERT_EQ(warnings().size(), 2u);
  EXPECT_EQ(warnings()[0].location, at(u"ssiSearchFolders"));
  EXPECT_EQ(warnings()[0].line, 2u);
  EXPECT_EQ(warnings()[1].line, 3u);
}

TEST_F(PathdefGeneratorTest, AFolderInPlaceOfTheMetadataFileIsNone) {
  makeDirectory(at(u"ssiSearchFolders"));
  EXPECT_TRUE(derived().empty());
}

TEST_F(PathdefGeneratorTest, ToolboxFoldersWithSourcesAreTakenInTheOrderOfTheirNames) {
  for (auto const* file :
       {u"toolbox\\Beta\\b.vt", u"toolbox\\alpha\\x\\y\\deep.VT", u"toolbox\\alpha\\a.vt",
        u"toolbox\\alpha2\\a.vt", u"toolbox\\none\\a.vtn", u"toolbox\\none\\vt",
        u"toolbox\\none\\.vt", u"elsewhere\\a.vt"}) {
    writeFile(at(file), "");
  }
  makeDirectory(at(u"toolbox\\folder.vt"));
  EXPECT_EQ(derived(), (Paths{at(u"toolbox\\alpha"), at(u"toolbox\\alpha\\x\\y"),
                              at(u"toolbox\\alpha2"), at(u"toolbox\\Beta")}));
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefGeneratorTest, TheMetadataFileComesBeforeTheToolbox) {
  writeFile(at(u"toolbox\\a\\a.vt"), "");
  writeFile(at(u"toolbox\\a.vt"), "");
  writeFile(at(u"ssiSearchFolders"), "z\n");
  EXPECT_EQ(derived(), (Paths{at(u"z"), at(u"toolbox"), at(u"toolbox\\a")}));
}

TEST_F(PathdefGeneratorTest, AFolderThatMayNotBeListedIsAWarning) {
  writeFile(at(u"toolbox\\a\\a.vt"), "");
  writeFile(at(u"toolbox\\b\\b.vt"), "");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view path) {
        return operation == "openDirectory" && path.ends_with(u"\\a");
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(derived(), Paths{at(u"toolbox\\b")});
  ASSERT_EQ(warnings().size(), 1u);
  EXPECT_EQ(warnings()[0].location, at(u"toolbox\\a"));
}

TEST_F(PathdefGeneratorTest, ADeviceErrorOnTheWayIsAFailure) {
  writeFile(at(u"toolbox\\a\\a.vt"), "");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](std::string_view operation,
                              std::u16string_view) { return operation == "DirectoryStream::next"; },
                           machine::ErrorCode::ioDevice);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(tests::errorCodeOf([&] { derived(); }), ErrorCode::ioError);
}

TEST_F(PathdefGeneratorTest, WritesWhatItReadsBack) {
  Paths const entries{at(u"b"), u"D:\\100% gr\u00f6\u00dfe's", at(u"a")};
  generator().prepareOutput();
  write(entries);
  EXPECT_EQ(read(), entries);
  EXPECT_TRUE(warnings().empty());
}

TEST_F(PathdefGeneratorTest, WarningsOfTheDefinitionFileNameItsPath) {
  writeFile(pathdef(), "pathdef 1\nx\n");
  EXPECT_TRUE(read().empty());
  ASSERT_EQ(warnings().size(), 1u);
  EXPECT_EQ(warnings()[0].location, pathdef());
  EXPECT_EQ(warnings()[0].line, 2u);
}

TEST_F(PathdefGeneratorTest, ADefinitionFileOfMoreThan16MebibytesIsTooLarge) {
  std::string text = "pathdef 1\n";
  text.resize(16 * 1024 * 1024, '\n');
  writeFile(pathdef(), text);
  EXPECT_TRUE(read().empty());
  writeFile(pathdef(), text + '\n');
  EXPECT_EQ(tests::errorCodeOf([&] { read(); }), ErrorCode::fileTooLarge);
}

TEST_F(PathdefGeneratorTest, WhatCouldNotBeReadBackIsNotWritten) {
  generator().prepareOutput();
  write({u"C:\\old"});
  Paths const entries(600, u"C:\\" + UString(30'000, u'x'));
  EXPECT_EQ(tests::errorCodeOf([&] { write(entries); }), ErrorCode::fileTooLarge);
  EXPECT_EQ(read(), Paths{u"C:\\old"});
}

TEST_F(PathdefGeneratorTest, AMetadataFileOfMoreThan16MebibytesIsTooLarge) {
  writeFile(at(u"ssiSearchFolders"), std::string(16 * 1024 * 1024 + 1, '\n'));
  EXPECT_EQ(tests::errorCodeOf([&] { derived(); }), ErrorCode::fileTooLarge);
}

TEST_F(PathdefGeneratorTest, PreparingMakesTheFolder) {
  generator().prepareOutput();
  EXPECT_TRUE(exists(at(u"sys\\path")));
  generator().prepareOutput();
  EXPECT_FALSE(exists(pathdef()));
}

TEST_F(PathdefGeneratorTest, WhatIsNotInstalledIsNotPrepared) {
  PathdefGenerator const missing(CanonicalAbsoluteIRI::ofWindowsPath(at(u"missing")),
                                 std::make_shared<localstorage::LocalStorage>());
  try {
    missing.prepareOutput();
    ADD_FAILURE();
  } catch (Exception const& failure) {
    EXPECT_EQ(failure.getErrorCode(), ErrorCode::resourceNotFound);
    EXPECT_EQ(failure.getLocation(), at(u"missing"));
  }
  EXPECT_FALSE(exists(at(u"missing")));
}

#if !defined(_WIN32)
TEST_F(PathdefGeneratorTest, LinksInTheToolboxAreNotEntered) {
  writeFile(at(u"toolbox\\a\\a.vt"), "");
  std::filesystem::create_directory_symlink(hostPath(at(u"toolbox")),
                                            hostPath(at(u"toolbox\\a\\loop")));
  std::filesystem::create_directory_symlink(hostPath(at(u"toolbox\\a")),
                                            hostPath(at(u"toolbox\\link")));
  EXPECT_EQ(derived(), Paths{at(u"toolbox\\a")});
}

TEST_F(PathdefGeneratorTest, AFolderWhoseNameNoIRIHoldsIsAWarning) {
  std::filesystem::create_directories(hostPath(at(u"toolbox")) / "a.");
  std::filesystem::create_directories(hostPath(at(u"toolbox")) / "b*");
  writeFile(at(u"toolbox\\c\\c.vt"), "");
  EXPECT_EQ(derived(), Paths{at(u"toolbox\\c")});
  EXPECT_EQ(warnings().size(), 2u);
}
#endif

}  // namespace
}  // namespace Brantix::PathManagement
