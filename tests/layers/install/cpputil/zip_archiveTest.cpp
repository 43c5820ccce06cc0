#include <gtest/gtest.h>

#include "install/cpputil/zip_archive.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/zip_file.hpp"

namespace install::cpputil {
namespace {

using fl::filesystem::Path;
using tests::ZipFile;
using tests::ZipMember;
using tests::zipOf;
using Members = std::vector<ZipMember>;

class ZipArchive : public tests::MachineTest {
 protected:
  Path file() const { return at(u"package.zip"); }
  Path target() const { return at(u"target"); }

  /// Unpacks these bytes, and tells what was wrong with them; empty when nothing was.
  std::string problemOf(std::string const& bytes, zip_limits const& limits = {}) {
    writeFile(file().ustring(), bytes);
    try {
      zip_archive(file(), limits).extract(target());
      return {};
    } catch (zip_error const& error) {
      return error.what();
    }
  }
  void expectRefused(std::string const& bytes, std::string_view reason,
                     zip_limits const& limits = {}) {
    auto const problem = problemOf(bytes, limits);
    EXPECT_NE(problem.find(reason), problem.npos) << "refused for another reason: " << problem;
    EXPECT_FALSE(exists(target().ustring())) << "something was left behind";
  }
  /// Refused before anything is unpacked.
  void expectRefusedAtOnce(std::string const& bytes, std::string_view reason,
                           zip_limits const& limits = {}) {
    writeFile(file().ustring(), bytes);
    try {
      zip_archive const archive(file(), limits);
      FAIL() << "taken";
    } catch (zip_error const& error) {
      EXPECT_NE(std::string_view(error.what()).find(reason), std::string_view::npos)
          << "refused for another reason: " << error.what();
    }
  }
  void expectUnpacked(std::string const& bytes, machine::UString const& name,
                      std::string const& content) {
    EXPECT_EQ(problemOf(bytes), "");
    ASSERT_TRUE(exists((target() / name).ustring()));
    EXPECT_EQ(readFile((target() / name).ustring()), content);
  }
};

std::string sound() {
  return zipOf({{"a.txt", "some content, some content"}});
}

TEST_F(ZipArchive, UnpacksStoredAndDeflatedFilesAndFolders) {
  std::string const large(300000, 'x');
  std::string const bytes = zipOf({{"folder/", "", false},
                                   {"folder/stored.txt", "stored", false},
                                   {"folder/deflated.bin", large},
                                   {"implied/deep/a", "a"},
                                   {"nothing", "", false},
                                   {"nothing deflated", ""}});
  expectUnpacked(bytes, u"folder\\stored.txt", "stored");
  EXPECT_EQ(readFile(at(u"target\\folder\\deflated.bin")), large);
  EXPECT_EQ(readFile(at(u"target\\implied\\deep\\a")), "a");
  EXPECT_EQ(readFile(at(u"target\\nothing")), "");
  EXPECT_EQ(readFile(at(u"target\\nothing deflated")), "");
}

TEST_F(ZipArchive, AnEmptyArchiveMakesAnEmptyFolder) {
  EXPECT_EQ(problemOf(zipOf({})), "");
  EXPECT_TRUE(files().status(target().ustring())->isDirectory);
}

TEST_F(ZipArchive, KeepsContentThatDoesNotCompress) {
  std::string noise;
  std::uint32_t state = 1;
  for (int i = 0; i < 200000; ++i) {
    state = state * 1664525 + 1013904223;
    noise += static_cast<char>(state >> 24);
  }
  expectUnpacked(zipOf({{"noise", noise}}), u"noise", noise);
}

TEST_F(ZipArchive, TakesNamesMarkedAsUtf8) {
  ZipMember member{
      "gr\xC3\xB6\xC3\x9F"
      "e/\xE2\x82\xAC.txt",
      "x"};
  member.flags = 1 << 11;
  expectUnpacked(zipOf({member}), u"gr\u00F6\u00DFe\\\u20AC.txt", "x");
}

TEST_F(ZipArchive, RefusesNamesThatAreNeitherAsciiNorMarkedAsUtf8) {
  expectRefusedAtOnce(zipOf({{"gr\xF6\xDF"
                              "e",
                              "x"}}),
                      "neither ASCII");
}

TEST_F(ZipArchive, TakesSizesThatFollowTheData) {
  ZipMember member{"a", "content"};
  member.hasDescriptor = true;
  expectUnpacked(zipOf({member, {"b", "more"}}), u"a", "content");
}

TEST_F(ZipArchive, RefusesSizesAfterTheDataThatDisagree) {
  ZipMember member{"a", "content"};
  member.hasDescriptor = true;
  std::string bytes = zipOf({member});
  bytes[bytes.find("PK\x07\x08") + 8] ^= 1;
  expectRefusedAtOnce(bytes, "disagree");
}

TEST_F(ZipArchive, FindsTheEndBeforeAComment) {
  ZipFile zip(Members{{"a", "x"}});
  zip.comment = "made by PK\x05\x06 itself, with what looks like an end record in it";
  expectUnpacked(zip.bytes(), u"a", "x");
}

TEST_F(ZipArchive, RefusesEveryFileCutShort) {
  std::string const bytes = zipOf({{"folder/a", "content"}, {"b", "more", false}});
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_NE(problemOf(bytes.substr(0, size)), "") << size << " bytes";
    EXPECT_FALSE(exists(target().ustring())) << size << " bytes";
  }
}

TEST_F(ZipArchive, NoDamagedByteIsTakenForTheTruth) {
  std::string const bytes = zipOf({{"a", "content of a, content of a"}, {"b", "more", false}});
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x55);
    if (problemOf(damaged).empty()) {
      // A byte that says nothing of names, sizes or content: a version, a time, an attribute.
      EXPECT_EQ(readFile(at(u"target\\a")), "content of a, content of a") << "byte " << i;
      EXPECT_EQ(readFile(at(u"target\\b")), "more") << "byte " << i;
      for (auto const* name : {u"target\\a", u"target\\b"}) files().removeFile(at(name));
      files().removeDirectory(target().ustring());
    }
    EXPECT_FALSE(exists(target().ustring())) << "byte " << i;
  }
}

TEST_F(ZipArchive, RefusesNamesThatLeadElsewhere) {
  for (char const* name : {"../evil", "a/../../evil", "/evil", "C:\\evil", "\\\\srv\\share\\evil",
                           "a\\..\\evil", "CON", "a:b", "a.", "a "}) {
    expectRefusedAtOnce(zipOf({{"innocent", "x"}, {name, "evil"}}), "has ");
  }
}

TEST_F(ZipArchive, RefusesNamesThatAreThereTwice) {
  expectRefusedAtOnce(zipOf({{"a", "1"}, {"a", "2"}}), "is there twice");
  expectRefusedAtOnce(zipOf({{"f/a", "1"}, {"F/A", "2"}}), "is there twice");
  expectRefusedAtOnce(zipOf({{"f/", "", false}, {"F/", "", false}}), "is there twice");
  expectRefusedAtOnce(zipOf({{"f", "1"}, {"f/a", "2"}}), "is there twice");
  expectRefusedAtOnce(zipOf({{"f/a", "1"}, {"F", "2"}}), "is there twice");
}

TEST_F(ZipArchive, TakesAFolderListedAfterItsContent) {
  expectUnpacked(zipOf({{"f/a", "1"}, {"f/", "", false}}), u"f\\a", "1");
}

TEST_F(ZipArchive, RefusesAWrongChecksum) {
  ZipMember member{"a", "content"};
  member.both.crc = 1;
  expectRefused(zipOf({{"before", "x"}, member}), "content is not what it should be");
  member.deflated = false;
  expectRefused(zipOf({member}), "content is not what it should be");
}

TEST_F(ZipArchive, RefusesContentLargerThanDeclared) {
  ZipMember member{"a", std::string(100000, 'x')};
  member.both.size = 10;
  expectRefused(zipOf({member}), "content is not what it should be");
}

TEST_F(ZipArchive, RefusesContentSmallerThanDeclared) {
  ZipMember member{"a", "content"};
  member.both.size = 100;
  expectRefused(zipOf({member}), "content is not what it should be");
}

TEST_F(ZipArchive, RefusesBytesAfterTheEndOfDeflatedData) {
  ZipMember member{"a", ZipFile::deflate("x") + "more", false};
  member.both.method = 8;
  member.both.size = 1;
  member.both.crc = 0x8CDC1683;  // of "x"
  expectRefused(zipOf({member}), "content is not what it should be");
}

TEST_F(ZipArchive, RefusesEncryptedEntries) {
  for (int bit : {0, 6, 13}) {
    ZipMember member{"a", "content"};
    member.flags = static_cast<std::uint16_t>(1 << bit);
    expectRefusedAtOnce(zipOf({member}), "encrypted");
  }
}

TEST_F(ZipArchive, RefusesFeaturesAndMethodsItDoesNotKnow) {
  ZipMember patched{"a", "content"};
  patched.flags = 1 << 5;
  expectRefusedAtOnce(zipOf({patched}), "not supported");
  for (int method : {1, 9, 12, 14, 93, 95, 99}) {
    ZipMember member{"a", "content"};
    member.both.method = static_cast<std::uint16_t>(method);
    expectRefusedAtOnce(zipOf({member}), "not supported");
  }
}

TEST_F(ZipArchive, RefusesLinksAndDevices) {
  for (std::uint32_t type : {0120000u, 0060000u, 0020000u, 0010000u, 0140000u}) {
    ZipMember member{"a", "/etc/passwd", false};
    member.attributes = (type | 0777u) << 16;
    expectRefusedAtOnce(zipOf({member}), "link or a device");
  }
  ZipMember junction{"a", "x"};
  junction.attributes = 0x400;
  expectRefusedAtOnce(zipOf({junction}), "link or a device");
}

TEST_F(ZipArchive, TakesOrdinaryFilesAndFoldersMadeOnUnix) {
  ZipMember file{"f/a", "x"};
  file.attributes = 0100644u << 16;
  ZipMember folder{"f/", "", false};
  folder.attributes = 0040755u << 16 | 0x10;
  expectUnpacked(zipOf({folder, file}), u"f\\a", "x");
}

TEST_F(ZipArchive, RefusesHeadersThatDisagree) {
  auto const disagreeing = [](tests::ZipHeader const& local) {
    ZipMember member{"a", "content"};
    member.local = local;
    return zipOf({member});
  };
  tests::ZipHeader name, shorter, flags, method, crc, packedSize, size, nothing;
  name.name = "b";
  shorter.name = "";
  flags.flags = 2;
  method.method = 0;
  crc.crc = 1;
  packedSize.packedSize = 1;
  size.size = 1;
  nothing.crc = nothing.packedSize = nothing.size = 0;
  for (auto const& local : {name, shorter, flags, method, crc, packedSize, size, nothing}) {
    expectRefusedAtOnce(disagreeing(local), "disagree");
  }
}

TEST_F(ZipArchive, RefusesADirectoryThatPointsElsewhere) {
  ZipMember member{"a", "content"};
  member.offset = 7;
  expectRefusedAtOnce(zipOf({member}), "not where it should be");
  member.offset = 0xFFFFFFFF;
  expectRefusedAtOnce(zipOf({member}), "not where it should be");
  ZipFile zip(Members{{"a", "content"}});
  zip.directoryOffset = 3;
  expectRefusedAtOnce(zip.bytes(), "not where it should be");
  expectRefusedAtOnce("#!/bin/sh\n" + sound(), "not where it should be");
}

TEST_F(ZipArchive, RefusesEntriesThatShareTheirData) {
  ZipMember greedy{"a", "12345", false};
  greedy.both.packedSize = greedy.both.size = 40;  // into the next
  expectRefusedAtOnce(zipOf({greedy, {"b", "content"}}), "overlap");
}

TEST_F(ZipArchive, RefusesCountsThatDoNotMatchTheDirectory) {
  ZipFile tooMany(Members{{"a", "x"}});
  tooMany.entryCount = 2;
  expectRefusedAtOnce(tooMany.bytes(), "cut short");
  ZipFile tooFew(Members{{"a", "x"}, {"b", "x"}});
  tooFew.entryCount = 1;
  expectRefusedAtOnce(tooFew.bytes(), "more than its entries");
}

TEST_F(ZipArchive, RefusesOnePartOfSeveral) {
  ZipFile zip(Members{{"a", "x"}});
  zip.disk = 1;
  expectRefusedAtOnce(zip.bytes(), "one part of several");
}

TEST_F(ZipArchive, RefusesZip64) {
  ZipMember member{"a", "x"};
  member.both.size = 0xFFFFFFFF;
  expectRefusedAtOnce(zipOf({member}), "zip64");
  ZipFile count(Members{{"a", "x"}});
  count.entryCount = 0xFFFF;
  expectRefusedAtOnce(count.bytes(), "zip64");
  ZipFile locator(Members{{"a", "x"}});
  locator.beforeEndRecord = "PK\x06\x07" + std::string(16, '\0');
  expectRefusedAtOnce(locator.bytes(), "zip64");
}

TEST_F(ZipArchive, RefusesMoreThanTheLimitInAll) {
  std::string const bytes = zipOf({{"a", "12345"}, {"b", "12345"}});
  zip_limits limits;
  limits.total_size = 10;
  EXPECT_EQ(problemOf(bytes, limits), "");
  limits.total_size = 9;
  expectRefusedAtOnce(bytes, "more than a package may hold", limits);
}

TEST_F(ZipArchive, RefusesMoreFoldersThanAPackageMayHoldHoweverFewEntriesNameThem) {
  std::string below;
  for (int level = 0; level < 98; ++level) below += "d/";
  Members members;
  for (int i = 0; i < 2648; ++i)
    members.push_back({std::to_string(i) + "/" + below + "f", "", false});
  // 2,648 times 100 names are more than 262,144; a hundred entries less are not.
  expectRefusedAtOnce(zipOf(members), "one file or folder more than a package may hold");
  members.resize(2548);
  writeFile(file().ustring(), zipOf(members));
  EXPECT_EQ(zip_archive(file()).entries().size(), 2548u);
}

TEST_F(ZipArchive, RefusesABomb) {
  std::string const zeros(17 << 20, '\0');
  expectRefusedAtOnce(zipOf({{"bomb", zeros}}), "more than a package may hold");
}

TEST_F(ZipArchive, AMissingFileIsTheMachinesError) {
  EXPECT_THROW(zip_archive(at(u"none.zip")), machine::SystemError);
}

TEST_F(ZipArchive, AFolderThatExistsIsNotUnpackedTo) {
  makeDirectory(target().ustring());
  writeFile(file().ustring(), sound());
  zip_archive archive(file());
  EXPECT_THROW(archive.extract(target()), machine::SystemError);
  EXPECT_TRUE(exists(target().ustring()));
}

TEST_F(ZipArchive, ReadsASmallFileOfTheArchive) {
  writeFile(file().ustring(), zipOf({{"version.txt", "1.2"}, {"folder/", "", false}}));
  zip_archive archive(file());
  EXPECT_EQ(archive.read("version.txt", 3), "1.2");
  EXPECT_THROW(archive.read("version.txt", 2), zip_error);
  EXPECT_THROW(archive.read("none", 100), zip_error);
  EXPECT_THROW(archive.read("folder", 100), zip_error);
}

TEST_F(ZipArchive, LeavesNothingWhicheverCallFails) {
  writeFile(file().ustring(), zipOf({{"f/a", "content"}, {"b", "more", false}}));
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  bool failed = true;
  for (std::size_t n = 1; failed; ++n) {
    failed = false;
    try {
      // Failing at the n-th call, while removing too, says nothing: only unpacking is to fail.
      faulty.faults().failAt(n, machine::ErrorCode::diskFull);
      zip_archive(file()).extract(target());
    } catch (machine::SystemError const&) {
      failed = true;
    }
    faulty.faults().failNever();
    EXPECT_EQ(exists(target().ustring()), !failed) << "call " << n;
  }
}

TEST_F(ZipArchive, PathsBeyondTheOldLimitAreUnpacked) {
  std::string name;
  for (int i = 0; i < 6; ++i) name += std::string(60, static_cast<char>('a' + i)) + "/";
  writeFile(file().ustring(), zipOf({{name + "file", "deep"}}));
  zip_archive archive(file());
  archive.extract(target());
  auto const native = machine::path_grammar::toNative(machine::toUtf16(name + "file"));
  EXPECT_EQ(readFile((target() / native).ustring()), "deep");
}

}  // namespace
}  // namespace install::cpputil
