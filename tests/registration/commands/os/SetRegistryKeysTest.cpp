#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/SetRegistryKeys.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"

namespace registration::commands {
namespace {

using install::postinstall::currentUserKey;
using install::postinstall::localMachineKey;
using Lines = std::vector<UString>;

/// Records what it is asked for, and fails where told.
class RecordingUtil : public RegistryUtil {
 public:
  struct Call {
    HKEY root;
    std::wstring keyPath, valueName, value;
    bool operator==(Call const&) const = default;
  };
  std::vector<Call> mutable calls;
  std::wstring failAt;

  void setRegKeyValue(HKEY const& root, std::wstring const& keyPath, std::wstring const& valueName,
                      std::wstring const& value) const override {
    record({root, keyPath, valueName, value});
  }
  void deleteRegKey(HKEY const& root, std::wstring const& keyPath) const override {
    record({root, keyPath, L"", L""});
  }

 private:
  void record(Call call) const {
    if (call.keyPath == failAt) {
      throw std::runtime_error("refused");
    }
    calls.push_back(std::move(call));
  }
};

std::list<registryKey> twoRecords() {
  return {{localMachineKey(), u"SOFTWARE\\Brantix\\Vortan", u"Version", u"25.1"},
          {currentUserKey(), u"Software\\Brantix", u"Edition", u"\u00e4\u65e5"}};
}

TEST(SetRegistryKeys, WritesInOrderAndLogsBeforeAndAfterEach) {
  RecordingUtil util;
  tests::LogCapture log;
  SetRegistryKeys(tests::plainOptions(), twoRecords(), util).execute();
  EXPECT_EQ(util.calls,
            (std::vector<RecordingUtil::Call>{
                {localMachineKey(), L"SOFTWARE\\Brantix\\Vortan", L"Version", L"25.1"},
                {currentUserKey(), L"Software\\Brantix", L"Edition", L"\u00e4\u65e5"}}));
  EXPECT_EQ(log.messages(),
            (Lines{u"Setting registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan\\Version "
                   u"to 25.1",
                   u"Successfully set registry key "
                   u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan\\Version to 25.1",
                   u"Setting registry key HKEY_LOCAL_MACHINE\\Software\\Brantix\\Edition to "
                   u"\u00e4\u65e5",
                   u"Successfully set registry key HKEY_LOCAL_MACHINE\\Software\\Brantix\\Edition "
                   u"to \u00e4\u65e5"}));
}

TEST(SetRegistryKeys, MessagesAreUtf8BeforeTheyAreLoggedAndTheHelperGetsEveryUnit) {
  UString const lone(1, char16_t{0xD800});
  RecordingUtil util;
  tests::LogCapture log;
  SetRegistryKeys const command(tests::plainOptions(),
                                {{currentUserKey(), u"a" + lone, u"b" + lone, u"c" + lone}}, util);
  command.execute();
  command.undo();
  UString const name = u"HKEY_LOCAL_MACHINE\\a\uFFFD\\b\uFFFD";
  EXPECT_EQ(log.messages(), (Lines{u"Setting registry key " + name + u" to c\uFFFD",
                                   u"Successfully set registry key " + name + u" to c\uFFFD",
                                   u"Removing registry key " + name,
                                   u"Successfully removed registry key " + name}));
  EXPECT_EQ(util.calls.front().keyPath, fl::i18n::to_wstring(u"a" + lone));
}

TEST(SetRegistryKeys, UndoDeletesTheWholeKeysInTheSameOrder) {
  RecordingUtil util;
  tests::LogCapture log;
  SetRegistryKeys(tests::plainOptions(), twoRecords(), util).undo();
  EXPECT_EQ(util.calls, (std::vector<RecordingUtil::Call>{
                            {localMachineKey(), L"SOFTWARE\\Brantix\\Vortan", L"", L""},
                            {currentUserKey(), L"Software\\Brantix", L"", L""}}));
  EXPECT_EQ(log.messages(),
            (Lines{u"Removing registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan\\Version",
                   u"Successfully removed registry key "
                   u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan\\Version",
                   u"Removing registry key HKEY_LOCAL_MACHINE\\Software\\Brantix\\Edition",
                   u"Successfully removed registry key "
                   u"HKEY_LOCAL_MACHINE\\Software\\Brantix\\Edition"}));
}

TEST(SetRegistryKeys, SkippedSystemIntegrationStopsExecuteButNotUndo) {
  RecordingUtil util;
  tests::LogCapture log;
  SetRegistryKeys const command(tests::skippingSystemIntegration(), twoRecords(), util);
  command.execute();
  EXPECT_TRUE(util.calls.empty());
  EXPECT_TRUE(log.messages().empty());
  command.undo();
  EXPECT_EQ(util.calls.size(), 2u);
}

TEST(SetRegistryKeys, EmptyListIsRefusedAtConstructionAndNothingLogged) {
  RecordingUtil util;
  tests::LogCapture log;
  try {
    SetRegistryKeys(tests::plainOptions(), {}, util);
    FAIL() << "accepted";
  } catch (std::runtime_error const& refused) {
    EXPECT_STREQ(refused.what(),
                 "Exception occured while creating the registry keys command : Registry Key Value "
                 "list cannot be empty");
  }
  EXPECT_TRUE(log.messages().empty());
}

TEST(SetRegistryKeys, FailedWriteLeavesTheCallBetweenTheRecords) {
  RecordingUtil util;
  util.failAt = L"Software\\Brantix";
  auto records = twoRecords();
  records.push_back({localMachineKey(), u"SOFTWARE\\Third", u"", u""});
  tests::LogCapture log;
  EXPECT_THROW(SetRegistryKeys(tests::plainOptions(), records, util).execute(), std::runtime_error);
  EXPECT_EQ(util.calls.size(), 1u) << "the first is written, the third not touched";
  EXPECT_EQ(log.messages().back(),
            u"Setting registry key HKEY_LOCAL_MACHINE\\Software\\Brantix\\Edition to \u00e4\u65e5");
}

TEST(SetRegistryKeys, FailedDeleteLeavesTheCallBetweenTheRecords) {
  RecordingUtil util;
  util.failAt = L"SOFTWARE\\Brantix\\Vortan";
  tests::LogCapture log;
  EXPECT_THROW(SetRegistryKeys(tests::plainOptions(), twoRecords(), util).undo(),
               std::runtime_error);
  EXPECT_TRUE(util.calls.empty());
  EXPECT_EQ(log.messages().size(), 1u);
}

TEST(SetRegistryKeys, KeepsItsOwnListAndTheCallersHelper) {
  RecordingUtil util;
  auto records = twoRecords();
  SetRegistryKeys command(tests::plainOptions(), records, util);
  records.clear();
  SetRegistryKeys const copy(command);
  SetRegistryKeys const moved(std::move(command));
  copy.execute();
  moved.execute();
  EXPECT_EQ(util.calls.size(), 4u);
}

class SetRegistryKeysOnMachine : public tests::CommandTest {
 protected:
  void TearDown() override {
    machine().registry().removeKey(key_);
    tests::CommandTest::TearDown();
  }
  std::optional<machine::RegistryValue> value(UString const& name) {
    return machine().registry().value(key_, name);
  }
  UString const path_ = u"SOFTWARE\\Brantix\\RegistrationTest";
  machine::RegistryKey const key_{machine::RegistryRoot::localMachine, path_};
  SetRegistryKeys command_{
      tests::plainOptions(),
      {{localMachineKey(), path_, u"A", u"one"}, {localMachineKey(), path_, u"", u"default"}},
      RegistryUtil::getRegistryUtil()};
};

TEST_F(SetRegistryKeysOnMachine, MakesTheKeyAndItsStringValues) {
  command_.execute();
  EXPECT_EQ(value(u"A"), machine::RegistryValue::ofText(u"one"));
  EXPECT_EQ(value(u""), machine::RegistryValue::ofText(u"default"));
}

TEST_F(SetRegistryKeysOnMachine, ExecuteTwiceEndsTheSame) {
  command_.execute();
  command_.execute();
  EXPECT_EQ(value(u"A"), machine::RegistryValue::ofText(u"one"));
}

TEST_F(SetRegistryKeysOnMachine, TwoRecordsOfOneKeyAreDeletedOnceEachWithoutError) {
  command_.execute();
  tests::LogCapture log;
  command_.undo();
  EXPECT_FALSE(machine().registry().keyExists(key_));
  EXPECT_EQ(log.messages().size(), 4u);
}

TEST_F(SetRegistryKeysOnMachine, UndoWithoutExecuteIsNoError) {
  EXPECT_NO_THROW(command_.undo());
}

TEST_F(SetRegistryKeysOnMachine, UndoTakesOtherValuesOfTheKeyWithIt) {
  command_.execute();
  machine().registry().setValue(key_, u"Other", machine::RegistryValue::ofDword(1));
  command_.undo();
  EXPECT_FALSE(machine().registry().keyExists(key_));
}

}  // namespace
}  // namespace registration::commands
