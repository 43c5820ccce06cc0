#include <gtest/gtest.h>

#include "registration/commands/Add3PEnvVarToMetadataFile.hpp"
#include "tests/registration/commands/metadata/third_party_fixture.hpp"

namespace registration::commands {
namespace {

using tests::Lines;
using tests::metadataHeader;
using tests::SetContents;

struct Exposed : Add3PEnvVarToMetadataFile {
  using Add3PEnvVarToMetadataFile::Add3PEnvVarToMetadataFile;
  using Add3PEnvVarToMetadataFile::getAllEnvVariablesFromInstrSetMap;
  using Add3PEnvVarToMetadataFile::writeEnvVarEntriesToFile;
};

class Add3PEnvVar : public tests::CommandTest {
 protected:
  Path written() const { return root() / u"envVariableList"; }
  tests::WithSets<Exposed> over(SetContents contents) const {
    return {root(), std::move(contents)};
  }
  std::string gatheredFrom(SetContents contents) const {
    return over(std::move(contents)).getAllEnvVariablesFromInstrSetMap(root().ustring());
  }
};

TEST_F(Add3PEnvVar, ValueIsTheRootABackslashAndTheRest) {
  EXPECT_EQ(gatheredFrom({{u"C:\\R", {{{"N", "$IS_ROOT_DIR$IS_FILE_SEPbin", true}}, {}, {}, {}}}}),
            "N|C:\\R\\bin|true\n");
}

TEST_F(Add3PEnvVar, EveryTokenIsExpandedInItsExactCaseOnly) {
  EXPECT_EQ(gatheredFrom({{u"C:\\R",
                           {{{"N", "$IS_ROOT_DIR;$IS_ROOT_DIR$IS_FILE_SEP$IS_FILE_SEP", false},
                             {"M", "$is_root_dir$Is_File_Sep", false}},
                            {},
                            {},
                            {}}}}),
            "N|C:\\R;C:\\R\\\\|false\nM|$is_root_dir$Is_File_Sep|false\n");
}

TEST_F(Add3PEnvVar, RootIsExpandedBeforeTheSeparator) {
  EXPECT_EQ(gatheredFrom(
                {{u"C:\\$IS_FILE_SEP$IS_ROOT_DIR", {{{"N", "$IS_ROOT_DIR", false}}, {}, {}, {}}}}),
            "N|C:\\\\$IS_ROOT_DIR|false\n");
}

TEST_F(Add3PEnvVar, NameIsTakenAsTheSetGivesIt) {
  EXPECT_EQ(gatheredFrom({{u"C:\\R", {{{"$IS_ROOT_DIR", "v", false}}, {}, {}, {}}}}),
            "$IS_ROOT_DIR|v|false\n");
}

TEST_F(Add3PEnvVar, NothingIsQuoted) {
  EXPECT_EQ(gatheredFrom({{u"C:\\R", {{{"N", "a|\"b\" ", false}, {"M", "", true}}, {}, {}, {}}}}),
            "N|a|\"b\" |false\nM||true\n");
}

TEST_F(Add3PEnvVar, RecordsFollowTheRootsByCodeUnitsAndTheOrderInTheSet) {
  EXPECT_EQ(gatheredFrom({{u"C:\\b", {{{"Z", "", true}, {"A", "", true}}, {}, {}, {}}},
                          {u"C:\\B", {{{"Y", "", true}}, {}, {}, {}}},
                          {u"C:\\\u00e4", {{{"X", "", true}}, {}, {}, {}}}}),
            "Y||true\nZ||true\nA||true\nX||true\n");
}

TEST_F(Add3PEnvVar, FileIsHeaderRecordsAndOneEmptyLine) {
  tests::LogCapture const log;
  over({{u"C:\\R", {{{"A", "1", true}, {"B", "\xC3\xA4", false}}, {}, {}, {}}}}).execute();
  EXPECT_EQ(readFile(written()), metadataHeader + "A|1|true\nB|\xC3\xA4|false\n\n");
}

TEST_F(Add3PEnvVar, FileThatIsThereIsReplaced) {
  writeFile(written(), std::string(10'000, 'x'));
  tests::LogCapture const log;
  over({{u"C:\\R", {{{"A", "1", true}}, {}, {}, {}}}}).execute();
  EXPECT_EQ(readFile(written()), metadataHeader + "A|1|true\n\n");
}

TEST_F(Add3PEnvVar, NoVariablesDeleteAnExistingFileSilently) {
  writeFile(written(), "old\n");
  EXPECT_EQ(tests::linesOfExecute(over({{u"C:\\R", {{}, {"C:\\x"}, {"C:\\x"}, {}}}})), Lines{});
  EXPECT_FALSE(exists(written()));
  EXPECT_EQ(tests::linesOfExecute(over({})), Lines{}) << "and none is created";
  EXPECT_FALSE(exists(written()));
}

TEST_F(Add3PEnvVar, OldFileThatCannotBeDeletedFailsTheCommand) {
  writeFile(written(), "old\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "removeFile"; },
      machine::ErrorCode::sharingViolation);
  machine::ScopedMachine const scope(faulty);
  auto const log = tests::linesOfExecute(over({}));
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[0], u"Unable to add environment variable entries to metadata file");
  EXPECT_NE(log[1].find(u"envVariableList"), UString::npos);
}

TEST_F(Add3PEnvVar, BodyIsWrittenAsItIsWithOneLineFeedMore) {
  tests::LogCapture const log;
  Exposed(tests::plainOptions()).writeEnvVarEntriesToFile(root().ustring(), "no line end");
  EXPECT_EQ(readFile(written()), metadataHeader + "no line end\n");
}

}  // namespace
}  // namespace registration::commands
