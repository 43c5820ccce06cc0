#if !defined(_WIN32)
#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/tools/regplan/program_fixture.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

/// A journal of a plan that wrote a value, which others get at in one way or another.
class UntrustedJournal : public ProgramTest {
 protected:
  UntrustedJournal() {
    std::ofstream("plan.json") << R"({"commands": [{"command": "SetRegistryKeys",
      "registryKeys": [{"root": "HKEY_LOCAL_MACHINE", "keyPath": "SOFTWARE\\Vortan",
                        "valueName": "a", "value": "1"}]}]})";
    fs::create_directory("journals");
    EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal",
                       "journals/journal"}),
              0)
        << err;
  }
  int restore(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"restore", "journals/journal", "--machine", "machine"});
    return regplan(std::move(options));
  }
  bool isRestored() {
    std::ifstream stream("machine/registry.json");
    std::string const text{std::istreambuf_iterator<char>(stream), {}};
    return text.find("Vortan") == text.npos;
  }
  void expectRefused(std::string const& reason) {
    EXPECT_EQ(restore(), 2);
    EXPECT_THAT(err, AllOf(HasSubstr("journals/journal: not trusted: "), HasSubstr(reason),
                           HasSubstr("--untrusted-journal")));
    EXPECT_FALSE(isRestored());
  }
};

TEST_F(UntrustedJournal, IsOneThatOthersMayWrite) {
  fs::permissions("journals/journal", fs::perms(0666));
  expectRefused("journals/journal may be written by others");
}

TEST_F(UntrustedJournal, IsOneInAFolderWhereOthersMayReplaceIt) {
  fs::permissions("journals", fs::perms::all);
  expectRefused("journals may be replaced by others");
}

TEST_F(UntrustedJournal, IsOneThatBelongsToAnotherAccount) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::chown("journals/journal", 65534, 65534);
  expectRefused("journals/journal belongs to nobody");
}

TEST_F(UntrustedJournal, IsOneWhoseContentsOthersMayWrite) {
  fs::permissions("journals/journal.files", fs::perms::all);
  expectRefused("journals/journal.files may be replaced by others");
}

TEST_F(UntrustedJournal, IsOneBehindALinkOfOthers) {
  fs::create_directory("shared");
  fs::create_directory_symlink("../journals", "shared/link");
  fs::permissions("shared", fs::perms::all);
  EXPECT_EQ(regplan({"restore", "shared/link/journal", "--machine", "machine"}), 2);
  EXPECT_THAT(err, HasSubstr("shared/link is a link"));
  EXPECT_FALSE(isRestored());
}

TEST_F(UntrustedJournal, IsTakenOnlyWhenThatIsTypedAndIsThenRecorded) {
  fs::permissions("journals/journal", fs::perms(0666));
  EXPECT_EQ(restore({"--force"}), 2);
  EXPECT_EQ(restore({"--untrusted-journal", "--report", "report.json", "--report", "report.html"}),
            0)
      << err;
  EXPECT_THAT(out, HasSubstr("Others could have written this journal: "));
  EXPECT_TRUE(isRestored());
  auto const report = nlohmann::json::parse(std::ifstream("report.json"));
  EXPECT_THAT(report["request"]["untrustedJournal"], HasSubstr("may be written by others"));
  std::ifstream page("report.html");
  EXPECT_THAT(std::string(std::istreambuf_iterator<char>(page), {}),
              HasSubstr("may be written by others"));
}

TEST_F(UntrustedJournal, TheOptionChangesNothingForOneThatIsTrusted) {
  EXPECT_EQ(restore({"--untrusted-journal", "--report", "report.json"}), 0) << err;
  auto const report = nlohmann::json::parse(std::ifstream("report.json"));
  EXPECT_TRUE(report["request"]["untrustedJournal"].is_null());
}

TEST_F(UntrustedJournal, IsNotWrittenInTheFirstPlace) {
  fs::create_directory("shared");
  fs::permissions("shared", fs::perms::all);
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal",
                     "shared/journal"}),
            2);
  EXPECT_THAT(err, AllOf(HasSubstr("--journal: shared/journal would be of no use: "),
                         HasSubstr("shared may be replaced by others")));
  EXPECT_FALSE(fs::exists("shared/journal"));
}

TEST_F(UntrustedJournal, ItsFolderOfContentsIsMadeWithItAndNeverSomebodyElses) {
  EXPECT_TRUE(fs::is_directory("journals/journal.files"));
  EXPECT_EQ(fs::status("journals/journal.files").permissions(), fs::perms::owner_all);
  fs::create_directory("journals/second.files");
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine", "--no-log", "--journal",
                     "journals/second"}),
            2);
  EXPECT_THAT(err, HasSubstr("journals/second.files exists"));
  EXPECT_FALSE(fs::exists("journals/second"));
}

TEST_F(UntrustedJournal, ReportsAreNotLedElsewhereEither) {
  fs::create_directory("shared");
  fs::create_directory("own");
  fs::create_directory_symlink("../own", "shared/link");
  fs::permissions("shared", fs::perms::all);
  EXPECT_EQ(regplan({"preview", "plan.json", "--machine", "machine", "--report",
                     "shared/link/report.json"}),
            2);
  EXPECT_THAT(err, HasSubstr("shared/link is a link"));
  EXPECT_TRUE(fs::is_empty("own"));
}

}  // namespace
}  // namespace regplan
#endif
