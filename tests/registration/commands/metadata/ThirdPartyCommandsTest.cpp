// What the three commands that write third-party entries have in common.
#include <gtest/gtest.h>

#include <stdexcept>

#include "fl/filesystem/operations.hpp"
#include "registration/commands/Add3PEnvVarToMetadataFile.hpp"
#include "registration/commands/Add3PVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/Add3pJavaPathEntriesToMetadataFile.hpp"
#include "tests/registration/commands/metadata/third_party_fixture.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using tests::Lines;
using tests::SetContents;
using tests::WithSets;

/// The protected operations under one name, and the texts of each command.
struct EnvVar : Add3PEnvVarToMetadataFile {
  using Command = Add3PEnvVarToMetadataFile;
  using Command::Command;
  auto gather(UString const& root) const { return getAllEnvVariablesFromInstrSetMap(root); }
  void write(UString const& root, UString const& entry) const {
    writeEnvVarEntriesToFile(root, fl::i18n::ustring_to_utf8(entry));
  }
  void addSomething() const { add3PEnvVarsEntriesToMetadataFile(); }

  static constexpr auto file = u"envVariableList";
  static constexpr auto adding = u"Adding 3P environment variable entries to metadata file";
  static constexpr auto added =
      u"Successfully added 3P environment variable entries to metadata file";
  static constexpr auto errorGetting =
      u"Error getting all environment variables for 3P from instruction sets";
  static constexpr auto unableToAdd =
      u"Unable to add environment variable entries to metadata file";
};

struct VTPath : Add3PVTPathEntriesToMetadataFile {
  using Command = Add3PVTPathEntriesToMetadataFile;
  using Command::Command;
  auto gather(UString const& root) const { return getAll3pPathEntriesFromInstrSetMap(root); }
  void write(UString const& root, UString const& entry) const {
    write3pVTPathEntriesToFile(root, {entry});
  }
  void addSomething() const { add3PVTPathEntriesToMetadataFile(); }

  static constexpr auto file = u"ssiSearchFolders";
  static constexpr auto adding = u"Adding 3P path entries to metadata file";
  static constexpr auto added = u"Successfully added 3P path entries to metadata file";
  static constexpr auto errorGetting =
      u"Error getting VORTAN path entries from Instruction Set files";
  static constexpr auto unableToAdd = u"Unable to add 3P path entries to metadata file";
};

struct JavaPath : Add3pJavaPathEntriesToMetadataFile {
  using Command = Add3pJavaPathEntriesToMetadataFile;
  using Command::Command;
  auto gather(UString const& root) const { return getJavaClassPathsFromInstrSetMap(root); }
  void write(UString const& root, UString const& entry) const {
    writePathEntriesToFile(root, {entry});
  }
  void addSomething() const { add3pJavaPathEntriesToMetadataFile(); }

  static constexpr auto file = u"javaClassPath";
  static constexpr auto adding = u"Adding 3p java path entries to metadata file";
  static constexpr auto added = u"Successfully added 3p java path entries to metadata file";
  static constexpr auto errorGetting = u"Error getting 3p javaClassPath from Instruction set map";
  static constexpr auto unableToAdd = u"Unable to add 3p java path entries to metadata file";
};

template <typename Command>
class ThirdPartyCommands : public tests::CommandTest {
 protected:
  Path written() const { return root() / Command::file; }
  /// One set with one entry of each kind, the metadata root itself.
  tests::SetContent oneOfEach() const {
    std::string const path = fl::i18n::ustring_to_utf8(root().ustring());
    return {{{"NAME", path, true}}, {path}, {path}, {}};
  }
  static tests::SetContent failing(std::function<void()> failure) {
    tests::SetContent content;
    content.failure = std::move(failure);
    return content;
  }
  WithSets<Command> over(SetContents contents) const { return {root(), std::move(contents)}; }
};

using AllThree = ::testing::Types<EnvVar, VTPath, JavaPath>;
TYPED_TEST_SUITE(ThirdPartyCommands, AllThree);

TYPED_TEST(ThirdPartyCommands, LogAddingAndSuccess) {
  EXPECT_EQ(tests::linesOfExecute(this->over({{u"C:\\set", this->oneOfEach()}})),
            (Lines{TypeParam::adding, TypeParam::added}));
  EXPECT_TRUE(this->exists(this->written()));
}

TYPED_TEST(ThirdPartyCommands, AskForTheSetsOfTheRootAsTheOptionsGiveIt) {
  WithSets<TypeParam>(u"C:/some/root", {}).gather(u"C:/some/root");
  EXPECT_EQ(tests::FakeUtils::askedFor(), u"C:/some/root");
}

TYPED_TEST(ThirdPartyCommands, NothingGatheredLogsNothingAndMakesNoFile) {
  EXPECT_EQ(tests::linesOfExecute(this->over({})), Lines{});
  EXPECT_EQ(tests::linesOfExecute(this->over({{u"C:\\set", {}}})), Lines{});
  EXPECT_FALSE(this->exists(this->written()));
}

TYPED_TEST(ThirdPartyCommands, UndoDoesTheSameAsExecute) {
  auto const command = this->over({{u"C:\\set", this->oneOfEach()}});
  command.execute();
  auto const afterExecute = this->readFile(this->written());
  fl::filesystem::remove(this->written());
  tests::LogCapture const log;
  command.undo();
  EXPECT_EQ(log.messages(), (Lines{TypeParam::adding, TypeParam::added}));
  EXPECT_EQ(this->readFile(this->written()), afterExecute);
}

TYPED_TEST(ThirdPartyCommands, FailingSetIsLoggedAndWhatWasGatheredBeforeIsWritten) {
  auto const command = this->over({{u"C:\\1", this->oneOfEach()},
                                   {u"C:\\2", this->failing([] { throw std::runtime_error("x"); })},
                                   {u"C:\\3", this->oneOfEach()}});
  EXPECT_EQ(tests::linesOfExecute(command),
            (Lines{TypeParam::errorGetting, u"x", TypeParam::adding, TypeParam::added}));
  auto const content = this->readFile(this->written());
  fl::filesystem::remove(this->written());
  this->over({{u"C:\\1", this->oneOfEach()}}).execute();
  EXPECT_EQ(this->readFile(this->written()), content) << "as with the first set alone";
}

TYPED_TEST(ThirdPartyCommands, UtilityThatCannotBeMadeIsAFailureToGetTheEntries) {
  struct NoUtils : TypeParam {
    using TypeParam::TypeParam;
    std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
    getInstrSetPostInstallUtilsInstance() const override {
      throw std::runtime_error("none");
    }
  };
  EXPECT_EQ(tests::linesOfExecute(NoUtils(tests::withMetadataRoot(this->root()))),
            (Lines{TypeParam::errorGetting, u"none"}));
}

TYPED_TEST(ThirdPartyCommands, MapThatCannotBeHadIsAFailureToGetTheEntries) {
  struct NoMap : tests::FakeUtils {
    NoMap() : FakeUtils({}) {}
    std::map<UString, std::unique_ptr<install::cppinstrset::InstrSet>>
    getInstrSetRootToComponentMap(UString const&) const override {
      throw std::runtime_error("no map");
    }
  };
  struct Using : TypeParam {
    using TypeParam::TypeParam;
    std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
    getInstrSetPostInstallUtilsInstance() const override {
      return std::make_unique<NoMap>();
    }
  };
  EXPECT_EQ(tests::linesOfExecute(Using(tests::withMetadataRoot(this->root()))),
            (Lines{TypeParam::errorGetting, u"no map"}));
}

TYPED_TEST(ThirdPartyCommands, OtherExceptionsReachTheInstallerAsTheyAre) {
  auto const command = this->over({{u"C:\\1", this->failing([] { throw 42; })}});
  tests::LogCapture const log;
  EXPECT_THROW(command.execute(), int);
  EXPECT_THROW(command.undo(), int);
  EXPECT_EQ(log.messages(), Lines{});
}

/// Its log fails once, when the step begins.
template <typename Command>
struct FailingOnce : WithSets<Command> {
  using WithSets<Command>::WithSets;
  Lines mutable log;
  void log_message(UString const& message) const override {
    log.push_back(message);
    if (message == Command::adding) {
      throw std::runtime_error("log");
    }
  }
};

TYPED_TEST(ThirdPartyCommands, StandardExceptionOfTheStepIsLoggedInTwoLines) {
  FailingOnce<TypeParam> const command(this->root(), {{u"C:\\set", this->oneOfEach()}});
  Lines const expected{TypeParam::adding, TypeParam::unableToAdd, u"log"};
  command.execute();
  EXPECT_EQ(command.log, expected);
  command.log.clear();
  command.undo();
  EXPECT_EQ(command.log, expected);
  EXPECT_THROW(command.addSomething(), std::runtime_error) << "the operation itself throws";
}

TYPED_TEST(ThirdPartyCommands, FileThatCannotBeOpenedIsSilent) {
  tests::FaultyMachine faulty(this->machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "openForWriting"; },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(tests::linesOfExecute(this->over({{u"C:\\set", this->oneOfEach()}})),
            (Lines{TypeParam::adding, TypeParam::added}));
  EXPECT_FALSE(this->exists(this->written()));
}

TYPED_TEST(ThirdPartyCommands, FailedWritesAndAFailedCloseAreSilent) {
  for (std::string_view const failing : {"FileWriter::write", "FileWriter::close"}) {
    tests::FaultyMachine faulty(this->machine());
    faulty.faults().failWhen(
        [=](std::string_view operation, std::u16string_view) { return operation == failing; },
        machine::ErrorCode::diskFull);
    machine::ScopedMachine const scope(faulty);
    EXPECT_EQ(tests::linesOfExecute(this->over({{u"C:\\set", this->oneOfEach()}})),
              (Lines{TypeParam::adding, TypeParam::added}))
        << failing;
  }
}

TYPED_TEST(ThirdPartyCommands, WhatCannotBeWrittenIsToldAndTheFileIsNotShorterThanBefore) {
  for (std::string const failing : {"openForWriting", "FileWriter::write", "FileWriter::close"}) {
    this->writeFile(this->written(), "old\n");
    tests::FaultyMachine faulty(this->machine());
    faulty.faults().failWhen(
        [&](std::string_view operation, std::u16string_view) { return operation == failing; },
        machine::ErrorCode::diskFull);
    tests::TroubleCapture const trouble;
    {
      machine::ScopedMachine const scope(faulty);
      EXPECT_EQ(tests::linesOfExecute(this->over({{u"C:\\set", this->oneOfEach()}})),
                (Lines{TypeParam::adding, TypeParam::added}))
          << failing;
    }
    EXPECT_TRUE(this->readFile(this->written()).starts_with("old\n")) << failing;
    EXPECT_EQ(trouble.errors(this->written().ustring() + u" could not be written: "), 1u)
        << failing;
    EXPECT_EQ(trouble.reports().size(), 1u) << failing;
  }
}

TYPED_TEST(ThirdPartyCommands, AFileInAFolderThatTakesNoNewOneIsWrittenAllTheSame) {
  this->over({{u"C:\\set", this->oneOfEach()}}).execute();
  auto const content = this->readFile(this->written());
  this->writeFile(this->written(), "");
  tests::FaultyMachine faulty(this->machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "openForWriting" && subject.ends_with(u".tmp");
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  this->over({{u"C:\\set", this->oneOfEach()}}).execute();
  EXPECT_EQ(this->readFile(this->written()), content);
}

TYPED_TEST(ThirdPartyCommands, RootWithForwardSlashesIsMadeNativeForTheFile) {
  UString forward = this->root().ustring();
  std::replace(forward.begin(), forward.end(), u'\\', u'/');
  TypeParam(tests::plainOptions()).write(forward, this->root().ustring());
  EXPECT_TRUE(this->exists(this->written()));
}

TYPED_TEST(ThirdPartyCommands, CopyBehavesAsItsSource) {
  auto const command = this->over({{u"C:\\set", this->oneOfEach()}});
  auto const copy = command;
  EXPECT_EQ(copy.gather(this->root().ustring()), command.gather(this->root().ustring()));
  EXPECT_EQ(tests::linesOfExecute(copy), (Lines{TypeParam::adding, TypeParam::added}));
}

TYPED_TEST(ThirdPartyCommands, BrokenInstalledSetIsNamedAndTheOneBeforeIsWritten) {
  auto const set = [this](char16_t const* name) {
    return this->root() / u"instructionsets" / name / u"instructionset.json";
  };
  this->writeFile(set(u"a"), R"({"version":1,
      "envVariables":[{"name":"A","value":"$IS_ROOT_DIR","overwrite":false}],
      "VortanPaths":["$IS_ROOT_DIR"],"JavaClassPaths":["$IS_ROOT_DIR"]})");
  this->writeFile(set(u"b"), "{\n  oops");
  auto const log = tests::linesOfExecute(TypeParam(tests::withMetadataRoot(this->root())));
  ASSERT_EQ(log.size(), 4u);
  EXPECT_EQ(log[0], TypeParam::errorGetting);
  EXPECT_TRUE(log[1].starts_with(set(u"b").ustring() + u":2:")) << "the file and the line";
  EXPECT_EQ((Lines{log[2], log[3]}), (Lines{TypeParam::adding, TypeParam::added}));
  EXPECT_NE(this->readFile(this->written()).find("instructionsets\\a"), std::string::npos);
}

/// What leads away from the computer is told with the place that asks for it.
TEST(ThirdPartyServers, EachEntryOnAnotherServerIsToldWithItsPlaceInTheSet) {
  tests::TroubleCapture const trouble;
  Path const root(u"C:\\R1");
  UString const set = u"C:\\R1\\instructionsets\\q";
  tests::SetContent content;
  content.vortanPaths = {"$IS_ROOT_DIR$IS_FILE_SEPa", "$IS_FILE_SEP$IS_FILE_SEPevil\\paths"};
  content.javaClassPaths = {"\\\\?\\GLOBALROOT\\Device\\Mup\\evil\\a.jar"};
  content.envVariables = {{"A", "$IS_ROOT_DIR", false}, {"B", "//evil/variables", true}};
  SetContents const sets = {{set, content}};
  WithSets<VTPath>(root, sets).gather(root.ustring());
  WithSets<JavaPath>(root, sets).gather(root.ustring());
  WithSets<EnvVar>(root, sets).gather(root.ustring());
  UString const file = set + u"\\instructionset.json: ";
  EXPECT_EQ(trouble.warnings(file + u"/VortanPaths/1: \\\\evil\\paths leads to evil, not to"), 1u);
  EXPECT_EQ(
      trouble.warnings(file + u"/JavaClassPaths/0: \\\\?\\GLOBALROOT\\Device\\Mup\\evil\\a.jar"),
      1u);
  EXPECT_EQ(trouble.warnings(file + u"/envVariables/1/value: //evil/variables leads to evil"), 1u);
  EXPECT_EQ(trouble.reports().size(), 3u);
}

}  // namespace
}  // namespace registration::commands
