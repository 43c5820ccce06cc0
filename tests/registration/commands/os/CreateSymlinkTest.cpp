#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/CreateSymlink.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/printing.hpp"

namespace registration::commands {
namespace {

Path targetFilePath(CreateSymlink const& command, Path const& linkPath);

/// Reaches the private operation: access is not checked where a template is explicitly
/// instantiated.
template <Path (CreateSymlink::*operation)(Path const&) const>
struct Opened {
  friend Path targetFilePath(CreateSymlink const& command, Path const& linkPath) {
    return (command.*operation)(linkPath);
  }
};
template struct Opened<&CreateSymlink::getTargetFilePath>;

utility::Options withFolder(bool skipped = false) {
  utility::Options::Values values;
  values.targetFolders = {{Path(u"C:\\links\\tool.exe"), u"C:\\targets"}, {Path(), u"C:\\none"}};
  values.systemIntegrationSkipped = skipped;
  return utility::Options(values);
}

CreateSymlink symlink(UString const& name) {
  return CreateSymlink(withFolder(), {Path(u"C:\\links\\tool.exe")}, name);
}

TEST(CreateSymlink, TargetIsTheFolderOfTheOptionsWithTheStemOfTheLink) {
  EXPECT_EQ(targetFilePath(symlink(u""), Path(u"C:\\links\\tool.exe")),
            Path(u"C:\\targets\\tool.lnk"));
}

TEST(CreateSymlink, TargetTakesTheExplicitName) {
  EXPECT_EQ(targetFilePath(symlink(u"My Tool"), Path(u"C:\\links\\tool.exe")),
            Path(u"C:\\targets\\My Tool.lnk"));
  EXPECT_EQ(targetFilePath(symlink(u"My Tool"), Path()), Path(u"C:\\none\\My Tool.lnk"));
}

TEST(CreateSymlink, TargetOfALinkWithoutAFolderIsABareName) {
  EXPECT_EQ(targetFilePath(symlink(u""), Path(u"D:\\other.exe")), Path(u"other.lnk"));
}

TEST(CreateSymlink, TargetOfNothingIsAnErrorThatIsNotCaught) {
  try {
    targetFilePath(symlink(u""), Path());
    FAIL();
  } catch (std::runtime_error const& error) {
    EXPECT_STREQ(error.what(), "Exception in command_impls: executable file path cannot be empty");
  }
}

TEST(CreateSymlink, CopiesBehaveAsTheirSource) {
  CreateSymlink const source = symlink(u"name");
  CreateSymlink const copy(source);
  EXPECT_EQ(targetFilePath(copy, Path(u"C:\\links\\tool.exe")), Path(u"C:\\targets\\name.lnk"));
}

TEST(CreateSymlink, MessagesOfDerivedClassesReachTheLog) {
  class Logging : public CreateSymlink {
   public:
    Logging() : CreateSymlink(withFolder(), {}, u"") { CreateSymlink::log_message(u"said"); }
  };
  tests::LogCapture log;
  Logging const command;
  EXPECT_EQ(log.messages(), std::vector<UString>{u"said"});
}

class CreateSymlinkOnMachine : public tests::CommandTest {};

TEST_F(CreateSymlinkOnMachine, ExecuteAndUndoAskTheMachineForNothingAndLogNothing) {
  writeFile(root() / u"tool.exe", "x");
  tests::FaultyMachine counted(machine());
  machine::ScopedMachine const scope(counted);
  tests::LogCapture log;
  for (bool const skipped : {false, true}) {
    for (auto const& paths :
         {std::vector<Path>{}, std::vector<Path>{Path(), root() / u"tool.exe", Path(u"<?>")}}) {
      CreateSymlink const command(withFolder(skipped), paths, u"link");
      command.execute();
      command.undo();
    }
  }
  EXPECT_EQ(counted.faults().operations(), std::vector<std::string>{});
  EXPECT_TRUE(log.messages().empty());
}

}  // namespace
}  // namespace registration::commands
