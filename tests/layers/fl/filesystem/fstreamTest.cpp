#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "fl/filesystem/fstream.hpp"
#include "tests/support/machine_fixture.hpp"

namespace fl::filesystem {
namespace {

using ::machine::WriteMode;

class Ifstream : public tests::MachineTest {};

TEST_F(Ifstream, ReadsBytesUnchanged) {
  std::string const bytes("a\r\nb\n\x1A\0\xFFz", 10);
  writeFile(at(u"a.bin"), bytes);
  ifstream in(at(u"a.bin"));
  ASSERT_TRUE(in.is_open());
  EXPECT_TRUE(in.good());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), bytes);
}

TEST_F(Ifstream, ReadsLines) {
  writeFile(at(u"a.txt"), "one\n\nthree");
  ifstream in(at(u"a.txt"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "", "three"}));
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.bad());
}

TEST_F(Ifstream, ReadsMoreThanItsBufferHolds) {
  std::string bytes;
  for (int i = 0; i < 50000; ++i) {
    bytes += std::to_string(i) + '\n';
  }
  writeFile(at(u"a.txt"), bytes);
  ifstream in(at(u"a.txt"));
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(in), {}) == bytes);
}

TEST_F(Ifstream, AnEmptyFileEndsAtOnce) {
  writeFile(at(u"a.txt"), "");
  ifstream in(at(u"a.txt"));
  std::string line;
  EXPECT_TRUE(in.is_open());
  EXPECT_FALSE(std::getline(in, line));
}

TEST_F(Ifstream, AFileThatCannotBeOpenedSetsFailbit) {
  for (UString const& name : {at(u"missing"), root(), UString(), UString(u"C:\\a?b")}) {
    ifstream in{Path(name)};
    EXPECT_FALSE(in.is_open()) << i18n::to_string(name);
    EXPECT_TRUE(in.fail()) << i18n::to_string(name);
    std::string line;
    EXPECT_FALSE(std::getline(in, line)) << i18n::to_string(name);
  }
}

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

}  // namespace
}  // namespace fl::filesystem
