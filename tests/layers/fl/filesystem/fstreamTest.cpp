#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fl/filesystem/fstream.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace fl::filesystem {
namespace {

using ::machine::WriteMode;

class Ofstream : public tests::MachineTest {};

TEST_F(Ofstream, WritesBytesUnchanged) {
  std::string const bytes("a\nb\r\n\x1A\0\xFFz", 10);
  ofstream out(at(u"a.bin"), WriteMode::truncate);
  ASSERT_TRUE(out.is_open());
  out << bytes;
  out.close();
  EXPECT_TRUE(out.good());
  EXPECT_FALSE(out.is_open());
  EXPECT_EQ(readFile(at(u"a.bin")), bytes);
}

TEST_F(Ofstream, WritesMoreThanItsBufferHolds) {
  std::string bytes;
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  for (int i = 0; i < 50000; ++i) {
    bytes += std::to_string(i) + '\n';
    out << i << '\n';
  }
  std::string const block(200000, 'x');
  out << block;
  out.close();
  EXPECT_TRUE(readFile(at(u"a.txt")) == bytes + block);
}

TEST_F(Ofstream, TruncateEmptiesAndAppendKeeps) {
  writeFile(at(u"a.txt"), "old");
  ofstream(at(u"a.txt"), WriteMode::append) << "+new";
  EXPECT_EQ(readFile(at(u"a.txt")), "old+new");
  ofstream(at(u"a.txt"), WriteMode::truncate) << "n";
  EXPECT_EQ(readFile(at(u"a.txt")), "n");
}

TEST_F(Ofstream, TellsWhatFailedFirst) {
  ofstream refused(root(), WriteMode::truncate);
  EXPECT_NE(refused.failure(), "");
  for (std::string const failing : {"FileWriter::write", "FileWriter::close"}) {
    tests::FaultyMachine faulty(machine());
    ::machine::ScopedMachine const scope(faulty);
    ofstream out(at(u"a.txt"), WriteMode::truncate);
    EXPECT_EQ(out.failure(), "");
    faulty.faults().failWhen(
        [&](std::string_view operation, std::u16string_view) { return operation == failing; },
        ::machine::ErrorCode::diskFull);
    out << "x" << std::flush;
    out.close();
    EXPECT_FALSE(out.good());
    EXPECT_NE(out.failure().find("a.txt"), std::string::npos) << failing;
  }
}

TEST_F(Ofstream, CreateNewRefusesAnExistingFile) {
  writeFile(at(u"a.txt"), "old");
  ofstream out(at(u"a.txt"), WriteMode::createNew);
  EXPECT_FALSE(out.is_open());
  EXPECT_TRUE(out.fail());
  EXPECT_EQ(readFile(at(u"a.txt")), "old");
}

TEST_F(Ofstream, FlushHandsEverythingToTheSystem) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  out << "line\n";
  EXPECT_EQ(readFile(at(u"a.txt")), "");
  out << std::flush;
  EXPECT_EQ(readFile(at(u"a.txt")), "line\n");
}

TEST_F(Ofstream, ClosesItselfAtTheEnd) {
  { ofstream(at(u"a.txt"), WriteMode::truncate) << "x"; }
  EXPECT_EQ(readFile(at(u"a.txt")), "x");
  EXPECT_TRUE(files().removeFile(at(u"a.txt")));
}

TEST_F(Ofstream, WritingOrClosingAfterCloseFails) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  out.close();
  out << "x";
  EXPECT_TRUE(out.fail());
  out.clear();
  out.close();
  EXPECT_TRUE(out.fail());
  EXPECT_EQ(readFile(at(u"a.txt")), "");
}

TEST_F(Ofstream, AFileThatCannotBeOpenedSetsFailbit) {
  ofstream out(at(u"missing\\a.txt"), WriteMode::truncate);
  EXPECT_FALSE(out.is_open());
  EXPECT_TRUE(out.fail());
  out << "x" << std::flush;
  out.close();
  EXPECT_TRUE(out.fail());
}

class StreamsWithFaults : public tests::MachineTest {
 protected:
  void fail(std::string operation) {
    faulty_.faults().failWhen(
        [=](std::string_view name, std::u16string_view) { return name == operation; },
        machine::ErrorCode::diskFull);
  }
  void failNoMore() { faulty_.faults().failNever(); }
  std::vector<std::string> const& operations() { return faulty_.faults().operations(); }

 private:
  tests::FaultyMachine faulty_{machine()};
  machine::ScopedMachine scope_{faulty_};
};

TEST_F(StreamsWithFaults, AFailedOpenSetsFailbit) {
  fail("openForWriting");
  EXPECT_TRUE(ofstream(at(u"a.txt"), WriteMode::append).fail());
}

TEST_F(StreamsWithFaults, AFailedWriteSetsBadbitAndLosesWhatItCouldNotWrite) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  fail("FileWriter::write");
  out << "lost" << std::flush;
  EXPECT_TRUE(out.bad());
  failNoMore();
  out.clear();
  out << "kept";
  out.close();
  EXPECT_TRUE(out.good());
  EXPECT_EQ(readFile(at(u"a.txt")), "kept");
}

TEST_F(StreamsWithFaults, AFailedWriteOfAFullBufferSetsBadbit) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  fail("FileWriter::write");
  out << std::string(200000, 'x');
  EXPECT_TRUE(out.bad());
}

TEST_F(StreamsWithFaults, CloseTellsOfAFailedWriteAndOfItsOwnFailureAndClosesAllTheSame) {
  for (char const* operation : {"FileWriter::write", "FileWriter::close"}) {
    ofstream out(at(u"a.txt"), WriteMode::truncate);
    out << "x";
    fail(operation);
    out.close();
    EXPECT_TRUE(out.fail()) << operation;
    EXPECT_FALSE(out.is_open()) << operation;
    EXPECT_TRUE(files().removeFile(at(u"a.txt"))) << operation;
  }
}

TEST_F(StreamsWithFaults, ADestructorThrowsNothing) {
  fail("FileWriter::write");
  auto out = std::make_unique<ofstream>(at(u"a.txt"), WriteMode::truncate);
  out->exceptions(std::ios::badbit | std::ios::failbit);
  *out << "x";
  EXPECT_NO_THROW(out.reset());
  EXPECT_TRUE(files().removeFile(at(u"a.txt")));
}

TEST_F(StreamsWithFaults, ThrowsWhenAskedToAsStandardStreamsDo) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  out.exceptions(std::ios::badbit);
  fail("FileWriter::write");
  EXPECT_THROW(out << "x" << std::flush, std::runtime_error);
}

TEST_F(StreamsWithFaults, AFlushedLineIsOneWrite) {
  ofstream out(at(u"a.txt"), WriteMode::truncate);
  out << "a" << 1 << "b" << std::flush << std::flush;
  EXPECT_EQ(operations(), (std::vector<std::string>{"openForWriting", "FileWriter::write"}));
}

}  // namespace
}  // namespace fl::filesystem
