#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/layers/vortanconnector/installationsregistry/sandboxed_registry.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/trouble_capture.hpp"
#include "vortanconnector/installationsregistry/installations_registry.hpp"

namespace vortanconnector::installationsregistry {
namespace {

using nlohmann::json;

class FixedClock final : public machine::Clock {
 public:
  std::chrono::system_clock::time_point now() override { return time; }
  std::chrono::system_clock::time_point time{};
};

class AddVortanRecord : public tests::MachineTest {
 protected:
  UString folder() const { return at(u"ProgramData\\Brantix\\Installations"); }
  UString file(std::u16string_view name = u"installations.json") const {
    return folder() + u"\\" + UString(name);
  }
  json records(std::u16string_view name = u"installations.json") {
    return json::parse(readFile(file(name)))["installations"];
  }
  std::string refusal() {
    try {
      addVortanRecord(UString(u"C:\\new"), u"");
      return "accepted";
    } catch (std::runtime_error const& error) {
      return error.what();
    }
  }

  tests::SandboxedRegistry sandbox_{machine(), at(u"ProgramData")};
  machine::ScopedMachine scope_{sandbox_.machine()};
};

TEST_F(AddVortanRecord, MakesFolderFileAndRecord) {
  EXPECT_TRUE(addVortanRecord(UString(u"C:/Program Files/Vortan/R1/"), u""));
  ASSERT_EQ(records().size(), 1u);
  EXPECT_EQ(records()[0]["root"], "C:\\Program Files\\Vortan\\R1");
  EXPECT_FALSE(exists(file(u"installations.json.tmp")));
}

TEST_F(AddVortanRecord, TheTimeOfTheFirstRecordStays) {
  FixedClock clock;
  tests::SubstitutedMachine timed(sandbox_.machine());
  timed.replace(clock);
  machine::ScopedMachine const scope(timed);
  addVortanRecord(UString(u"C:\\a"), u"");
  clock.time += std::chrono::hours(1);
  addVortanRecord(UString(u"C:\\a"), u"");
  addVortanRecord(UString(u"C:\\b"), u"");
  EXPECT_EQ(records(), json::parse(R"([
    {"root": "C:\\a", "added": "1970-01-01T00:00:00.000Z"},
    {"root": "C:\\b", "added": "1970-01-01T01:00:00.000Z"}])"));
}

TEST_F(AddVortanRecord, OneRecordForARootInWhateverSpelling) {
  for (auto const* const root :
       {u"C:\\Vortan\\R1", u"c:\\VORTAN\\r1", u"C:/Vortan/R1", u"C:\\Vortan\\R1\\",
        u"C:\\Vortan\\x\\..\\R1", u"\\\\?\\C:\\Vortan\\R1"}) {
    EXPECT_TRUE(addVortanRecord(UString(root), u""));
  }
  EXPECT_EQ(records().size(), 1u);
}

TEST_F(AddVortanRecord, ARecordThatIsThereLeavesTheFileAlone) {
  addVortanRecord(UString(u"C:\\a"), u"");
  std::string const own = "{\"version\":1,\"installations\":[{\"root\":\"c:/A\"}]}";
  writeFile(file(), own);
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\a"), u""));
  EXPECT_EQ(readFile(file()), own);
}

TEST_F(AddVortanRecord, AnOverrideNamesAnotherRegistry) {
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\a"), u"Test \u00e4"));
  EXPECT_EQ(records(u"Test \u00e4.json").size(), 1u);
  EXPECT_FALSE(exists(file()));
}

TEST_F(AddVortanRecord, AnInvalidOverrideIsRefusedAndNothingMade) {
  for (auto const* const name : {u"..", u"a\\b", u"../x", u"C:\\x", u"CON", u"a:b", u" "}) {
    EXPECT_FALSE(addVortanRecord(UString(u"C:\\a"), name)) << machine::toUtf8(name);
  }
  EXPECT_FALSE(exists(at(u"ProgramData")));
}

TEST_F(AddVortanRecord, ARootThatIsNoAbsolutePathIsRefused) {
  EXPECT_FALSE(addVortanRecord(UString(), u""));
  EXPECT_FALSE(addVortanRecord(UString(u"Vortan"), u""));
  EXPECT_FALSE(addVortanRecord(UString(u"\\Vortan"), u""));
  EXPECT_FALSE(addVortanRecord(UString{u'C', u':', u'\\', 0xD800}, u""));
  EXPECT_FALSE(exists(at(u"ProgramData")));
}

TEST_F(AddVortanRecord, ADamagedFileIsNamedAndKept) {
  for (auto const* const text :
       {"", "{\"version\": 1, \"installations\": [", "{\"version\": 1, \"installations\": 7}"}) {
    writeFile(file(), text);
    EXPECT_NE(refusal().find("installations.json: "), std::string::npos) << refusal();
    EXPECT_EQ(readFile(file()), text);
  }
}

TEST_F(AddVortanRecord, AFileOfANewerVersionIsKept) {
  std::string const text = "{\"version\": 2, \"entries\": {\"C:\\\\a\": true}}";
  writeFile(file(), text);
  EXPECT_NE(refusal().find("/version: version 2 is not known"), std::string::npos) << refusal();
  EXPECT_EQ(readFile(file()), text);
}

TEST_F(AddVortanRecord, AFileOfUnreasonableSizeIsNotRead) {
  writeFile(file(), std::string((8 << 20) + 1, ' '));
  EXPECT_NE(refusal().find("(223)"), std::string::npos) << refusal();
}

TEST_F(AddVortanRecord, WhatAKilledWriterLeftIsCleared) {
  addVortanRecord(UString(u"C:\\a"), u"");
  writeFile(file(u"installations.json.tmp"), "{\"version\": 1, \"inst");
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\b"), u""));
  EXPECT_EQ(records().size(), 2u);
  EXPECT_FALSE(exists(file(u"installations.json.tmp")));
}

TEST_F(AddVortanRecord, AWriterThatDoesNotEndIsNotWaitedForForEver) {
  struct NoWaiting final : machine::ForwardingFiles {
    using ForwardingFiles::ForwardingFiles;
    std::unique_ptr<machine::FileLock> lock(std::u16string_view path,
                                            std::chrono::milliseconds limit) override {
      asked = limit;
      return ForwardingFiles::lock(path, std::chrono::milliseconds(0));
    }
    std::chrono::milliseconds asked{};
  };
  makeDirectory(folder());
  auto const held = files().lock(file(u"installations.json.lock"), std::chrono::milliseconds(0));
  NoWaiting impatient(files());
  tests::SubstitutedMachine substituted(sandbox_.machine());
  substituted.replace(impatient);
  machine::ScopedMachine const scope(substituted);
  EXPECT_NE(refusal().find("(1460)"), std::string::npos) << refusal();
  EXPECT_EQ(impatient.asked, std::chrono::seconds(10));
  EXPECT_FALSE(exists(file()));
}

#if !defined(_WIN32)
TEST_F(AddVortanRecord, AFolderThatAnotherAccountMadeFirstIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  for (auto const* const name : {u"ProgramData\\Brantix", u"ProgramData\\Brantix\\Installations"}) {
    makeDirectory(folder());
    ::chown(hostPath(at(name)).c_str(), 65534, 65534);
    EXPECT_NE(refusal().find("belongs to nobody"), std::string::npos) << refusal();
    EXPECT_FALSE(exists(file()));
    EXPECT_FALSE(exists(file(u"installations.json.lock")));
    ::chown(hostPath(at(name)).c_str(), 0, 0);
  }
}

TEST_F(AddVortanRecord, AFolderThatOthersCouldWriteIsTakenOverAndTold) {
  makeDirectory(folder());
  std::filesystem::permissions(hostPath(folder()), std::filesystem::perms::all);
  tests::TroubleCapture const told;
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\a"), u""));
  EXPECT_EQ(told.warnings(u"others could write here"), 1u);
  EXPECT_FALSE(files().foreignAccess(folder()).any());
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\b"), u""));
  EXPECT_EQ(told.reports().size(), 1u);
}

TEST_F(AddVortanRecord, ARegistryThatOthersCouldWriteIsNotBelieved) {
  addVortanRecord(UString(u"C:\\a"), u"");
  std::filesystem::permissions(hostPath(file()), std::filesystem::perms::others_write,
                               std::filesystem::perm_options::add);
  EXPECT_NE(refusal().find("installations.json may be written by others"), std::string::npos)
      << refusal();
  EXPECT_EQ(records().size(), 1u);
}

TEST_F(AddVortanRecord, NobodyElseCanHoldTheLock) {
  makeDirectory(folder());
  writeFile(file(u"installations.json.lock"), "");
  std::filesystem::permissions(hostPath(file(u"installations.json.lock")),
                               std::filesystem::perms(0666));
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\a"), u""));
  EXPECT_EQ(std::filesystem::status(hostPath(file(u"installations.json.lock"))).permissions(),
            std::filesystem::perms(0600));
}
#endif

TEST_F(AddVortanRecord, AfterAnySingleFailureTheFileIsTheOldOrTheNewOne) {
  addVortanRecord(UString(u"C:\\old"), u"");
  std::string const before = readFile(file());
  tests::FaultyMachine faulty(sandbox_.machine());
  machine::ScopedMachine const scope(faulty);
  bool succeeded = false;
  std::size_t operation = 0;
  while (!succeeded) {
    faulty.faults().failAt(++operation, machine::ErrorCode::ioDevice);
    try {
      succeeded = addVortanRecord(UString(u"C:\\new"), u"");
    } catch (machine::SystemError const& error) {
      EXPECT_EQ(readFile(file()), before) << operation << ": " << error.what();
    }
    faulty.faults().failNever();
    ASSERT_LT(operation, 100u);
  }
  EXPECT_GT(operation, 8u) << "locked, read, written, flushed, closed and moved";
  EXPECT_EQ(records().size(), 2u);
}

TEST_F(AddVortanRecord, AKillAtAnyOperationLeavesTheOldOrTheNewOne) {
  struct Killed {};
  /// Nothing more of the process reaches the disk, from the given operation on.
  addVortanRecord(UString(u"C:\\old"), u"");
  std::string const before = readFile(file());
  for (std::size_t last = 1; records().size() == 1; ++last) {
    ASSERT_LT(last, 100u);
    tests::FaultyMachine faulty(sandbox_.machine());
    machine::ScopedMachine const scope(faulty);
    std::size_t count = 0;
    faulty.faults().failWhen([&](auto, auto) { return ++count >= last; },
                             machine::ErrorCode::ioDevice);
    try {
      addVortanRecord(UString(u"C:\\new"), u"");
    } catch (machine::SystemError const&) {
      EXPECT_EQ(readFile(file()), before) << last;
    }
  }
  EXPECT_EQ(records()[1]["root"], "C:\\new");
}

TEST_F(AddVortanRecord, TheContentIsOnTheDiskBeforeItTakesTheOldOnesPlace) {
  tests::FaultyMachine counted(sandbox_.machine());
  machine::ScopedMachine const scope(counted);
  addVortanRecord(UString(u"C:\\a"), u"");
  auto const& operations = counted.faults().operations();
  auto const at = [&](std::string_view name) {
    return std::find(operations.begin(), operations.end(), name) - operations.begin();
  };
  EXPECT_LT(at("lock"), at("openForWriting"));
  EXPECT_LT(at("FileWriter::write"), at("FileWriter::flushToDisk"));
  EXPECT_LT(at("FileWriter::flushToDisk"), at("FileWriter::close"));
  EXPECT_LT(at("FileWriter::close"), at("rename"));
}

TEST_F(AddVortanRecord, TwoThreadsAtOnceLoseNoRecord) {
  constexpr int each = 20;
  auto const addAll = [](UString const& drive) {
    for (int i = 0; i < each; ++i) {
      addVortanRecord(drive + fl::i18n::to_ustring(std::to_string(i)), u"");
    }
  };
  std::thread other(addAll, u"D:\\");
  addAll(u"C:\\");
  other.join();
  EXPECT_EQ(records().size(), 2u * each);
}

TEST_F(AddVortanRecord, TheFileFitsItsPublishedSchema) {
  std::ifstream stream(INSTALLATIONS_SCHEMA);
  auto const schema = json::parse(stream);
  addVortanRecord(UString(u"C:\\a"), u"");
  auto const document = json::parse(readFile(file()));
  auto const fits = [](json const& object, json const& rules) {
    for (auto const& name : rules["required"]) {
      EXPECT_TRUE(object.contains(name.get<std::string>())) << name;
    }
    for (auto const& member : object.items()) {
      EXPECT_TRUE(rules["properties"].contains(member.key())) << member.key();
    }
  };
  fits(document, schema);
  fits(document["installations"][0], schema["properties"]["installations"]["items"]);
  EXPECT_EQ(document["version"], schema["properties"]["version"]["const"]);
}

}  // namespace
}  // namespace vortanconnector::installationsregistry
