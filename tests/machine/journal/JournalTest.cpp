#include <regex>

#include "machine/forwarding.hpp"
#include "machine/journal/journal.hpp"
#include "machine/journal/journal_file.hpp"
#include "machine/sha256.hpp"
#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/substituted_machine.hpp"

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace tests {

namespace fs = std::filesystem;
using journal::JournalWriter;
using journal::readJournal;

class JournalOfChanges : public JournalTest {
 protected:
  /// The records, without what encloses them.
  std::vector<std::string> records() const {
    std::vector<std::string> result;
    EXPECT_EQ(journal::readLines(journal(), host::OpenMode::readTrusted,
                                 [&](auto const& r) { result.push_back(r.dump()); }),
              std::nullopt);
    return result;
  }
  std::vector<fs::path> storedFiles() const {
    std::vector<fs::path> files;
    for (auto const& file : fs::directory_iterator(journal().string() + ".files"))
      files.push_back(file.path());
    return files;
  }
};

TEST_F(JournalOfChanges, BeginsWithItsFormatAndThePlan) {
  change([](Machine&) {});
  auto const record = nlohmann::json::parse(records().at(0));
  EXPECT_EQ(record["format"], "registration-journal");
  EXPECT_EQ(record["version"], 2);
  EXPECT_EQ(record["plan"], "test");
  auto const journal = readJournal(this->journal());
  EXPECT_EQ(journal.plan, "test");
  EXPECT_EQ(journal.created.size(), std::string("2026-11-21T08:30:00.123Z").size());
  EXPECT_TRUE(journal.entries.empty());
}

TEST_F(JournalOfChanges, TellsEachChangeBeforeAndAfter) {
  change([](Machine& machine) {
    write(machine, u"C:\\d\\short", "ours");
    machine.registry().setValue(software(u"K"), u"dword", RegistryValue::ofDword(8));
    machine.registry().setValue(software(u"K"), u"dword", RegistryValue::ofDword(9));
    machine.files().createDirectory(u"C:\\new");
    machine.processes().shellExecute(u"C:\\tool.exe", u"-a");
  });
  auto lines = records();
  lines.erase(lines.begin());
  for (auto& line : lines) {
    line = std::regex_replace(line, std::regex(R"re("written":1\d{17})re"), R"("written":1)");
  }
  std::string const value =
      R"({"kind":"value","where":"HKEY_LOCAL_MACHINE\\SOFTWARE\\K","value":"dword"})";
  EXPECT_THAT(
      lines,
      testing::ElementsAre(
          // printf short | sha256sum; printf ours | sha256sum
          R"({"about":{"kind":"file","where":"C:\\d\\short"},"before":{"is":"file","size":5,)"
          R"("sha256":"f9b0078b5df596d2ea19010c001bbd009e651de2c57e8fb7e355f31eb9d3f739",)"
          R"("hex":"73686f7274","written":1}})",
          R"({"changed":{"kind":"file","where":"C:\\d\\short"},"after":{"is":"file","size":4,)"
          R"("sha256":"ae0bec9e9d33c56354bd612c8a6010840324fc5b9786ce0a18b696b304b09397","written":1}})",
          R"({"about":)" + value + R"(,"before":{"is":"value","type":4,"hex":"07000000"}})",
          R"({"changed":)" + value + R"(,"after":{"is":"value","type":4,"hex":"08000000"}})",
          R"({"again":)" + value + "}",
          R"({"changed":)" + value + R"(,"after":{"is":"value","type":4,"hex":"09000000"}})",
          R"({"about":{"kind":"folder","where":"C:\\new"},"before":{"is":"nothing"}})",
          R"({"changed":{"kind":"folder","where":"C:\\new"},"after":{"is":"there"}})",
          R"({"handOver":{"kind":"shellProgram","what":"C:\\tool.exe","arguments":"-a"}})"));
}

TEST_F(JournalOfChanges, EachLineIsAJsonValueOfItsOwn) {
  change(changeMuch);
  std::istringstream lines(bytesOf(journal()));
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    auto const json = nlohmann::ordered_json::parse(line);
    EXPECT_EQ(json["length"], json["record"].dump().size());
  }
  EXPECT_EQ(count, records().size());
}

TEST_F(JournalOfChanges, LongContentsAreStoredOnceUnderTheirHash) {
  change([](Machine& machine) {
    write(machine, u"C:\\copy", "x");
    write(machine, u"C:\\d\\long", "ours");
    write(machine, u"C:\\d\\long", "again");
  });
  ASSERT_EQ(storedFiles().size(), 1u);
  EXPECT_EQ(bytesOf(storedFiles()[0]), start().at("C/d/long"));
  auto const entry = readJournal(journal()).entries.at(1);
  EXPECT_EQ(std::get<FileContent>(entry.before.state).sha256, storedFiles()[0].filename());
}

TEST_F(JournalOfChanges, EqualLongContentsAreStoredOnce) {
  change([](Machine& machine) {
    machine.files().rename(u"C:\\d\\long", u"C:\\d\\moved", false);
    machine.files().removeFile(u"C:\\d\\sub\\sub\\b");
    write(machine, u"C:\\d\\moved", "ours");
  });
  EXPECT_EQ(storedFiles().size(), 2u);
}

/// Others write to a file between the question for its size and its reading.
TEST_F(JournalOfChanges, AFileThatGrowsBeforeItIsReadIsKeptAsItWasRead) {
  simulated::SimulatedMachine machine(directory());
  struct Growing final : ForwardingFiles {
    using ForwardingFiles::ForwardingFiles;
    std::unique_ptr<FileReader> openForReading(std::u16string_view path) override {
      auto const writer = inner().openForWriting(path, WriteMode::append);
      writer->write(std::string(JournalWriter::longestInline, 'g'));
      writer->close();
      return inner().openForReading(path);
    }
  } files(machine.files());
  SubstitutedMachine growing(machine);
  growing.replace(files);
  {
    JournalWriter writer(journal(), growing, "");
    watch::WatchedMachine watched(growing, {&writer});
    watched.files().removeFile(u"C:\\d\\short");
  }
  EXPECT_TRUE(restore().allRestored());
  EXPECT_EQ(bytesOf(directory() / "C" / "d" / "short"),
            "short" + std::string(JournalWriter::longestInline, 'g'));
}

TEST_F(JournalOfChanges, AContentIsInlineOrStoredByItsLength) {
  for (auto const size : {JournalWriter::longestInline, JournalWriter::longestInline + 1}) {
    TemporaryFolder const folder;
    simulated::SimulatedMachine machine(directory());
    write(machine, u"C:\\file", std::string(size, 'x'));
    {
      JournalWriter writer(folder.path() / "journal", machine, "");
      watch::WatchedMachine watched(machine, {&writer});
      watched.files().removeFile(u"C:\\file");
    }
    auto const entry = readJournal(folder.path() / "journal").entries.at(0);
    auto const& content = std::get<FileContent>(entry.before.state);
    EXPECT_EQ(content.size, size);
    EXPECT_EQ(content.bytes.has_value(), size == JournalWriter::longestInline);
    EXPECT_EQ(fs::exists(folder.path() / "journal.files" / content.sha256), !content.bytes);
  }
}

TEST_F(JournalOfChanges, CarriesTheComputerAndTheAccount) {
  {
    simulated::SimulatedMachine machine(directory());
    machine.environment().setVariable(u"COMPUTERNAME", u"CHARLY");
    machine.environment().setVariable(u"USERDOMAIN", u"HOUSE");
    machine.registry().setText({RegistryRoot::localMachine, u"SOFTWARE\\Microsoft\\Cryptography"},
                               u"MachineGuid", u"id of charly");
  }
  change([](Machine&) {});
  journal::Origin const origin{u"CHARLY", u"id of charly", u"HOUSE\\User", u"S-1-5-21-1-2-3-1001"};
  EXPECT_EQ(readJournal(journal()).origin, origin);
}

TEST_F(JournalOfChanges, WhatHasNoPlaceOfItsOwnIsNotChanged) {
  simulated::SimulatedMachine machine(directory());
  JournalWriter writer(journal(), machine, "");
  EXPECT_THROW(writer.aboutToChange({Item::Kind::file, u"C:x\\y", {}}), SystemError);
  EXPECT_THROW(writer.aboutToChange({Item::Kind::file, u"", {}}), SystemError);
  EXPECT_THROW(writer.aboutToChange({Item::Kind::registryKey, u"HKEY_LOCAL_MACHINE", {}}),
               SystemError);
  EXPECT_NO_THROW(writer.aboutToChange({Item::Kind::file, u"C:\\d\\new", {}}));
}

TEST_F(JournalOfChanges, AnExistingFileIsNeverWrittenOver) {
  writeBytes(journal(), "precious");
  simulated::SimulatedMachine machine(directory());
  EXPECT_THROW(JournalWriter(journal(), machine, ""), std::system_error);
  EXPECT_EQ(bytesOf(journal()), "precious");
}

TEST_F(JournalOfChanges, AFolderOfContentsThatIsThereAlreadyIsNotUsed) {
  fs::create_directory(journal().string() + ".files");
  EXPECT_THROW(change([](Machine& machine) { write(machine, u"C:\\d\\long", "ours"); }),
               std::system_error);
  EXPECT_EQ(snapshot(directory()), start());
}

#if !defined(_WIN32)
/// Files of this process grow no further, as on a full disk, while this object lives.
class FullDisk {
 public:
  explicit FullDisk(std::uintmax_t size) {
    ::getrlimit(RLIMIT_FSIZE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = size;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &previous_); }

 private:
  rlimit previous_{};
  void (*signal_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(JournalOfChanges, WithoutRoomForItNothingIsChangedAnyMore) {
  {
    simulated::SimulatedMachine machine(directory());
    JournalWriter writer(journal(), machine, "");
    watch::WatchedMachine watched(machine, {&writer});
    watched.registry().setText(software(u"K"), u"", u"ours");
    auto const before = machine.registry().value(software(u"K"), u"odd");
    {
      FullDisk const full(fs::file_size(journal()) + 100);
      EXPECT_THROW(watched.registry().removeValue(software(u"K"), u"odd"), std::system_error);
    }
    EXPECT_THROW(watched.registry().removeValue(software(u"K"), u"odd"), std::runtime_error);
    EXPECT_THROW(watched.processes().shellExecute(u"C:\\tool.exe", u""), std::runtime_error);
    EXPECT_EQ(machine.registry().value(software(u"K"), u"odd"), before);
  }
  auto const report = restore();
  EXPECT_TRUE(report.damage);
  EXPECT_EQ(troubles(report), "");
  expectStart();
}

TEST_F(JournalOfChanges, ALinkInItsPlaceIsNotFollowed) {
  auto const target = directory() / "target";
  fs::create_symlink(target, journal());
  simulated::SimulatedMachine machine(directory());
  EXPECT_THROW(JournalWriter(journal(), machine, ""), std::system_error);
  EXPECT_FALSE(fs::exists(target));
  writeBytes(target, "");
  EXPECT_THROW(readJournal(journal()), std::system_error);
}

TEST_F(JournalOfChanges, OnlyItsOwnerMayOpenIt) {
  change([](Machine& machine) { write(machine, u"C:\\d\\long", "ours"); });
  auto const permissions = [](fs::path const& path) { return fs::status(path).permissions(); };
  EXPECT_EQ(permissions(journal()), fs::perms(0600));
  EXPECT_EQ(permissions(journal().string() + ".files"), fs::perms(0700));
  EXPECT_EQ(permissions(storedFiles().at(0)), fs::perms(0600));
}
#endif

TEST_F(JournalOfChanges, WhatItCannotReadIsNotChanged) {
  simulated::SimulatedMachine machine(directory());
  FaultyMachine faulty(machine);
  faulty.faults().failWhen([](auto operation, auto) { return operation == "FileReader::read"; },
                           ErrorCode::ioDevice);
  JournalWriter writer(journal(), faulty, "");
  watch::WatchedMachine watched(faulty, {&writer});
  for (auto const* file : {u"C:\\d\\short", u"C:\\d\\long"}) {
    EXPECT_THROW(watched.files().removeFile(file), SystemError);
  }
  machine.save();
  EXPECT_EQ(snapshot(directory()), start());
}

TEST_F(JournalOfChanges, TextsOfAnyKindAreReadBack) {
  UString const odd{u'a', 0xD800, u'\n', 0x1F};
  simulated::SimulatedMachine machine(directory());
  struct Odd final : ForwardingRegistry {
    using ForwardingRegistry::ForwardingRegistry;
    std::optional<RegistryValue> value(RegistryKey const&, std::u16string_view) override {
      return RegistryValue::ofDword(1);
    }
  } registry(machine.registry());
  SubstitutedMachine odds(machine);
  odds.replace(registry);
  Item const item{Item::Kind::registryValue, u"HKEY_CURRENT_USER\\" + odd, odd};
  {
    JournalWriter writer(journal(), odds, "a \xff plan\n");
    writer.aboutToChange(item);
    writer.changed(item);
  }
  auto const journal = readJournal(this->journal());
  EXPECT_EQ(journal.plan, "a \xef\xbf\xbd plan\n");
  ASSERT_EQ(journal.entries.size(), 1u);
  EXPECT_EQ(journal.entries[0].item, item);
  EXPECT_EQ(journal.damage, std::nullopt);
}

class DamagedJournal : public JournalOfChanges {
 protected:
  DamagedJournal() {
    change([](Machine& machine) {
      write(machine, u"C:\\d\\short", "ours");
      machine.registry().setText(software(u"K"), u"dword", u"ours");
      machine.services().set(u"New", serviceOf(u"C:\\tool.exe"));
      machine.tasks().remove(u"Own");
      machine.processes().shellExecute(u"C:\\tool.exe", u"-a");
    });
    whole_ = bytesOf(journal());
    for (std::size_t at = 0; at < whole_.size(); at = whole_.find('\n', at) + 1) {
      lines_.push_back(at);
    }
  }
  /// Of the line that a byte belongs to.
  std::size_t lineOf(std::size_t byte) const {
    return static_cast<std::size_t>(std::upper_bound(lines_.begin(), lines_.end(), byte) -
                                    lines_.begin() - 1);
  }
  journal::Journal read(std::string_view bytes) const {
    writeBytes(journal(), bytes);
    return readJournal(journal());
  }
  /// The whole journal's entries and hand-overs that its first `records` records tell of.
  static constexpr std::size_t entriesIn[] = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4};

  std::string whole_;
  std::vector<std::size_t> lines_;  ///< where they begin
};

TEST_F(DamagedJournal, CutAtAnyByteIsReadAsFarAsItIsWhole) {
  ASSERT_EQ(lines_.size(), std::size(entriesIn) - 1);
  for (std::size_t size = 0; size < whole_.size(); ++size) {
    auto const journal = read(std::string_view(whole_).substr(0, size));
    auto const record = lineOf(size);
    if (size == lines_[record] && size > 0) {
      // Nothing tells that more was to come.
      EXPECT_EQ(journal.damage, std::nullopt) << size;
    } else {
      ASSERT_TRUE(journal.damage) << size;
      EXPECT_EQ(journal.damage->byte, lines_[record]) << size;
      EXPECT_EQ(journal.damage->record, record) << size;
      EXPECT_NE(journal.damage->reason, "") << size;
    }
    EXPECT_EQ(journal.entries.size(), entriesIn[record]) << size;
    EXPECT_TRUE(journal.handOvers.empty());
  }
  EXPECT_EQ(read(whole_).damage, std::nullopt);
  EXPECT_EQ(read(whole_).handOvers.size(), 1u);
}

TEST_F(DamagedJournal, WithAnyByteChangedIsReadAsFarAsItIsWhole) {
  for (std::size_t byte = 0; byte < whole_.size(); ++byte) {
    auto changed = whole_;
    changed[byte] = static_cast<char>(changed[byte] ^ (1 << byte % 8));
    auto const journal = read(changed);
    ASSERT_TRUE(journal.damage) << byte;
    EXPECT_EQ(journal.damage->byte, lines_[lineOf(byte)]) << byte;
    EXPECT_EQ(journal.entries.size(), entriesIn[lineOf(byte)]) << byte;
  }
}

TEST_F(DamagedJournal, ALineLeftOutOrInAnotherPlaceIsFound) {
  auto const line = [&](std::size_t i) {
    return whole_.substr(lines_[i], lines_[i + 1] - lines_[i]);
  };
  auto const firstTwo = whole_.substr(0, lines_[2]);
  auto const leftOut = read(firstTwo + whole_.substr(lines_[3]));
  ASSERT_TRUE(leftOut.damage);
  EXPECT_EQ(leftOut.damage->record, 2u);
  auto const swapped = read(firstTwo + line(3) + line(2) + whole_.substr(lines_[4]));
  ASSERT_TRUE(swapped.damage);
  EXPECT_EQ(swapped.damage->record, 2u);
  auto const twice = read(firstTwo + line(1) + whole_.substr(lines_[2]));
  ASSERT_TRUE(twice.damage);
  EXPECT_EQ(twice.damage->record, 2u);
}

TEST_F(DamagedJournal, BytesAfterTheEndAreDamage) {
  auto const journal = read(whole_ + std::string(1000, '\0'));
  ASSERT_TRUE(journal.damage);
  EXPECT_EQ(journal.damage->byte, whole_.size());
  EXPECT_EQ(journal.entries.size(), 4u);
}

constexpr char const* header = R"({"format":"registration-journal","version":2,"created":"now",)"
                               R"("plan":"","computer":{"name":"A","id":"1"},)"
                               R"("account":{"name":"B","id":"2"}})";

/// A line as a program would write it that knows other records.
TEST_F(DamagedJournal, ARecordThatIsNotKnownEndsTheReading) {
  for (char const* text :
       {R"({"other":1})", R"([])", R"("text")", R"({"again":{"kind":"file","where":"C:\\none"}})",
        R"({"about":{"kind":"file","where":"C:\\x"},"before":{"is":"file","size":1,)"
        R"("sha256":"../../../etc/passwd"}})",
        R"({"about":{"kind":"file","where":"C:\\x"},"before":{"is":"other"}})"}) {
    fs::remove(journal());
    {
      journal::LineWriter lines(journal());
      lines.append(journal::Record::parse(header));
      lines.append(journal::Record::parse(text));
    }
    auto const journal = readJournal(this->journal());
    ASSERT_TRUE(journal.damage) << text;
    EXPECT_EQ(journal.damage->record, 1u) << text;
    EXPECT_TRUE(journal.entries.empty()) << text;
  }
}

/// Of each a restore would do something to something else, or read beyond what is there.
TEST_F(DamagedJournal, AStateOfAnotherKindAndANameThatDependsOnOtherThingsEndTheReading) {
  std::string const nothing = R"("before":{"is":"nothing"}})";
  std::string const task =
      R"("before":{"is":"task","document":"","definition":{"application":"","arguments":"",)"
      R"("workingFolder":"","description":"","author":"","group":"","startsAtLogon":true,)"
      R"("highestRunLevel":true,"enabled":true}}})";
  std::string const start = R"({"about":{"kind":)";
  for (std::string const& text :
       {start + R"("service","where":"Spooler"},"before":{"is":"there"}})",
        start + R"("service","where":"Spooler"},"before":{"is":"value","type":1,"hex":""}})",
        start + R"("service","where":"Spooler"},)" + task,
        start + R"("file","where":"C:\\x"},"before":{"is":"variable","text":""}})",
        start + R"("file","where":"C:\\x"},"before":{"is":"file","size":1,"sha256":""}})",
        start + R"("file","where":"C:\\x"},"before":{"is":"file","size":1,"hex":"","sha256":)" +
            '"' + std::string(64, '0') + R"("}})",
        start + R"("key","where":"HKEY_LOCAL_MACHINE\\X"},"before":{"is":"file","size":0,)" +
            R"("sha256":""}})",
        start + R"("key","where":"HKEY_LOCAL_MACHINE"},)" + nothing,
        start + R"("key","where":"HKEY_NONE\\X"},)" + nothing,
        start + R"("value","where":"HKEY_LOCAL_MACHINE\\X","value":""},"before":{"is":"there"}})",
        start + R"("task","where":"T"},"before":{"is":"there"}})",
        start + R"("file","where":"C:x\\y"},)" + nothing,
        start + R"("file","where":"x"},)" + nothing, start + R"("file","where":"\\x"},)" + nothing,
        start + R"("file","where":""},)" + nothing,
        start + R"("file","where":"C:\\d\\..\\x"},)" + nothing,
        start + R"("folder","where":"C:/d"},)" + nothing}) {
    fs::remove(journal());
    {
      journal::LineWriter lines(journal());
      lines.append(journal::Record::parse(header));
      lines.append(journal::Record::parse(text));
    }
    auto const journal = readJournal(this->journal());
    ASSERT_TRUE(journal.damage) << text;
    EXPECT_EQ(journal.damage->record, 1u) << text;
    EXPECT_GT(journal.damage->byte, std::string_view(header).size()) << text;
    EXPECT_NE(journal.damage->reason, "") << text;
    EXPECT_TRUE(journal.entries.empty()) << text;
  }
}

TEST_F(DamagedJournal, ARecordThatIsNestedTooDeeplyEndsTheReading) {
  fs::remove(journal());
  auto const text = std::string(20'000, '[') + std::string(20'000, ']');
  Sha256 hash;
  hash.add(text);
  writeBytes(journal(),
             "{\"length\":40000,\"sha256\":\"" + hash.finish() + "\",\"record\":" + text + "}\n");
  auto const journal = readJournal(this->journal());
  ASSERT_TRUE(journal.damage);
  EXPECT_NE(journal.damage->reason.find("nested deeper than 8 levels"), std::string::npos)
      << journal.damage->reason;
}

TEST_F(DamagedJournal, AnotherFormatOrVersionIsRefused) {
  for (auto const& [begin, reason] :
       {std::pair(R"({"format":"registration-journal","version":1})",
                  "version 1 of journals is not known; this program reads version 2"),
        std::pair(R"({"format":"other","version":2})", "the file is no journal")}) {
    fs::remove(journal());
    journal::LineWriter(journal()).append(journal::Record::parse(begin));
    try {
      readJournal(journal());
      FAIL() << begin;
    } catch (std::runtime_error const& error) {
      EXPECT_STREQ(error.what(), reason);
    }
  }
}

TEST_F(DamagedJournal, AFileThatIsNotThereIsAnError) {
  EXPECT_THROW(readJournal(journal().string() + "2"), std::system_error);
}

TEST_F(DamagedJournal, ARestoreTellsWhereTheJournalEnded) {
  writeBytes(journal(), std::string_view(whole_).substr(0, lines_[4] + 10));
  auto const report = restore();
  ASSERT_TRUE(report.damage);
  EXPECT_EQ(report.damage->record, 4u);
  EXPECT_EQ(report.steps.size(), 2u);
}

}  // namespace tests
