#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "machine/forwarding.hpp"
#include "machine/host/host_file.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine {
namespace {

namespace fs = std::filesystem;
using host::OpenMode;
using testing::AllOf;
using testing::HasSubstr;

constexpr uid_t nobody = 65534;

void write(fs::path const& file, std::string_view text) {
  std::ofstream(file) << text;
}

std::string contentOf(fs::path const& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

template <class Error, class Call>
std::string errorOf(Call const& call) {
  try {
    call();
    return "(none)";
  } catch (Error const& error) {
    return error.what();
  }
}

/// A folder of the host where others may write, and one where nobody else may.
class OthersLinks : public testing::Test {
 protected:
  OthersLinks() {
    fs::create_directory(shared());
    fs::create_directory(own());
    fs::permissions(shared(), fs::perms::all);
    fs::create_directory(shared() / "folder");
    write(own() / "victim", "kept");
  }
  fs::path shared() const { return folder_.path() / "shared"; }
  fs::path own() const { return folder_.path() / "own"; }

 private:
  tests::TemporaryFolder folder_;
};

TEST_F(OthersLinks, NoOperationGoesThroughALinkInAFolderWhereOthersWrite) {
  fs::create_directory_symlink(own(), shared() / "link");
  auto const through = shared() / "link" / "victim";
  auto const refused =
      AllOf(HasSubstr("shared/link is a link"), HasSubstr("may be replaced by others"));
  for (auto const mode : {OpenMode::truncate, OpenMode::append, OpenMode::createNew,
                          OpenMode::createPrivate, OpenMode::readTrusted, OpenMode::lock}) {
    EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(through, mode); }), refused);
  }
  EXPECT_THAT(errorOf<UntrustedPath>([&] { host::makeFolder(shared() / "link" / "new"); }),
              refused);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { host::removeFile(through); }), refused);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { host::renameFile(through, own() / "moved"); }), refused);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { host::renameFile(own() / "victim", through); }),
              refused);
  EXPECT_EQ(contentOf(own() / "victim"), "kept");
  EXPECT_FALSE(fs::exists(own() / "new"));
}

TEST_F(OthersLinks, NorThroughOneDeeperInWhatOthersCanExchange) {
  fs::create_directory_symlink(own(), shared() / "folder" / "link");
  EXPECT_THAT(errorOf<UntrustedPath>(
                  [&] { HostFile(shared() / "folder" / "link" / "victim", OpenMode::append); }),
              HasSubstr("folder/link is a link"));
}

TEST_F(OthersLinks, OneThatOnlyWeCanHaveLaidIsFollowed) {
  fs::create_directory_symlink(shared() / "folder", own() / "link");
  HostFile(own() / "link" / "new", OpenMode::createNew).write("through");
  EXPECT_EQ(contentOf(shared() / "folder" / "new"), "through");
  fs::create_directory_symlink("link", own() / "relative");
  HostFile(own() / "relative" / "second", OpenMode::createNew).write("through");
  EXPECT_EQ(contentOf(shared() / "folder" / "second"), "through");
  fs::create_directory_symlink("circle", own() / "circle");
  EXPECT_THAT(
      errorOf<std::system_error>([&] { HostFile(own() / "circle" / "x", OpenMode::append); }),
      HasSubstr("open "));
}

TEST_F(OthersLinks, AFolderThatIsMissingBehindALinkIsToldAsMissing) {
  fs::create_directory_symlink("none", own() / "dangling");
  try {
    HostFile(own() / "dangling" / "file", OpenMode::append);
    ADD_FAILURE() << "opened";
  } catch (std::system_error const& error) {
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory) << error.what();
  }
}

TEST_F(OthersLinks, WhereNamesAreKeptOnlyOurOwnLinkIsFollowed) {
  ::chmod(shared().c_str(), 01777);  // as /tmp
  fs::create_directory_symlink(own(), shared() / "ours");
  HostFile(shared() / "ours" / "new", OpenMode::createNew).write("through");
  EXPECT_EQ(contentOf(own() / "new"), "through");
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::lchown((shared() / "ours").c_str(), nobody, nobody);
  EXPECT_THAT(
      errorOf<UntrustedPath>([&] { HostFile(shared() / "ours" / "b", OpenMode::createNew); }),
      AllOf(HasSubstr("shared/ours is a link"), HasSubstr("nobody")));
}

TEST_F(OthersLinks, AFileWithASecondNameIsNotWrittenTo) {
  fs::create_hard_link(own() / "victim", shared() / "log");
  for (auto const mode : {OpenMode::truncate, OpenMode::append}) {
    EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(shared() / "log", mode); }),
                HasSubstr("shared/log has a second name"));
  }
  EXPECT_EQ(contentOf(own() / "victim"), "kept");
}

TEST_F(OthersLinks, WhatIsTrustedNobodyElseCanWriteOrExchange) {
  EXPECT_NO_THROW(HostFile(own() / "victim", OpenMode::readTrusted));
  ::chmod((own() / "victim").c_str(), 0666);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(own() / "victim", OpenMode::readTrusted); }),
              HasSubstr("own/victim may be written by others"));
  write(shared() / "file", "x");
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(shared() / "file", OpenMode::readTrusted); }),
              HasSubstr("shared may be replaced by others"));
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(shared() / "new", OpenMode::createPrivate); }),
              HasSubstr("shared may be replaced by others"));
  EXPECT_FALSE(fs::exists(shared() / "new"));
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::chmod((own() / "victim").c_str(), 0600);
  ::lchown((own() / "victim").c_str(), nobody, nobody);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(own() / "victim", OpenMode::readTrusted); }),
              HasSubstr("own/victim belongs to nobody"));
}

TEST_F(OthersLinks, AFolderMadeAmongOthersIsForReadingOnly) {
  auto const before = ::umask(0);
  EXPECT_EQ(host::makeFolder(shared() / "made"), 0);
  EXPECT_EQ(host::makeFolder(own() / "made"), 0);
  ::umask(before);
  EXPECT_EQ(fs::status(shared() / "made").permissions(), fs::perms(0755));
  EXPECT_EQ(fs::status(own() / "made").permissions(), fs::perms(0777));
}

TEST_F(OthersLinks, ALockFileIsTakenFromThoseWhoCouldHoldIt) {
  write(own() / "lock", "");
  ::chmod((own() / "lock").c_str(), 0666);
  HostFile(own() / "lock", OpenMode::lock);
  EXPECT_EQ(fs::status(own() / "lock").permissions(), fs::perms(0600));
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::lchown((own() / "lock").c_str(), nobody, nobody);
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(own() / "lock", OpenMode::lock); }),
              HasSubstr("own/lock belongs to nobody"));
}

/// A simulated machine with C:\shared, where others may write, and C:\own.
class OthersFolders : public testing::Test {
 protected:
  OthersFolders() {
    fs::create_directories(drive() / "shared" / "folder");
    fs::create_directory(drive() / "own");
    fs::permissions(drive() / "shared", fs::perms::all);
    write(drive() / "own" / "victim", "kept");
    fs::create_directory(drive() / "own" / "sub");
  }
  fs::path drive() const { return directory_.path() / "C"; }
  Files& files() { return machine_.files(); }
  simulated::SimulatedMachine& machine() { return machine_; }

 private:
  tests::TemporaryFolder directory_;
  simulated::SimulatedMachine machine_{directory_.path()};
};

constexpr auto untrusted = "(448)";

TEST_F(OthersFolders, AreNotLedElsewhereByALinkInAnyOperation) {
  fs::create_directory_symlink(drive() / "own", drive() / "shared" / "link");
  overlay::OverlayMachine overlay(machine());
  for (Files* const provider : {&files(), &overlay.files()}) {
    UString const victim = u"C:\\shared\\link\\victim";
    auto const refused = AllOf(HasSubstr("C:\\shared\\link is a link"), HasSubstr(untrusted));
    auto const error = [&](auto const& call) { return errorOf<SystemError>(call); };
    for (auto const mode : {WriteMode::truncate, WriteMode::append, WriteMode::createNew}) {
      EXPECT_THAT(error([&] { provider->openForWriting(victim, mode); }), refused);
    }
    EXPECT_THAT(error([&] { provider->removeFile(victim); }), refused);
    EXPECT_THAT(error([&] { provider->rename(victim, u"C:\\own\\b", true); }), refused);
    EXPECT_THAT(error([&] { provider->rename(u"C:\\own\\victim", victim, true); }), refused);
    EXPECT_THAT(error([&] { provider->createDirectory(u"C:\\shared\\link\\new"); }), refused);
    EXPECT_THAT(error([&] { provider->removeDirectory(u"C:\\shared\\link\\sub"); }), refused);
    EXPECT_THAT(error([&] { provider->claimDirectory(u"C:\\shared\\link\\new"); }), refused);
    EXPECT_EQ(provider->openForReading(victim)->foreignAccess(), ForeignAccess());
  }
  EXPECT_THAT(errorOf<SystemError>(
                  [&] { files().lock(u"C:\\shared\\link\\victim", std::chrono::milliseconds(0)); }),
              HasSubstr(untrusted));
  EXPECT_THAT(errorOf<SystemError>([&] { files().setAttributes(u"C:\\shared\\link\\victim", {}); }),
              HasSubstr(untrusted));
  EXPECT_EQ(contentOf(drive() / "own" / "victim"), "kept");
}

/// What the attacker does: the folder was looked at and found to be one; then it is a link.
TEST_F(OthersFolders, AreNotLedElsewhereByAFolderThatBecomesALink) {
  struct Swapping final : ForwardingFiles {
    using ForwardingFiles::ForwardingFiles;
    std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) override {
      fs::rename(drive / "shared" / "folder", drive / "shared" / "gone");
      fs::create_directory_symlink(drive / "own", drive / "shared" / "folder");
      return ForwardingFiles::openForWriting(path, mode);
    }
    fs::path drive;
  };
  Swapping swapping(files());
  swapping.drive = drive();
  UString const log = u"C:\\shared\\folder\\victim";
  EXPECT_FALSE(swapping.status(u"C:\\shared\\folder")->isLink);
  EXPECT_THAT(errorOf<SystemError>([&] { swapping.openForWriting(log, WriteMode::append); }),
              HasSubstr(untrusted));
  EXPECT_EQ(contentOf(drive() / "own" / "victim"), "kept");
}

TEST_F(OthersFolders, AClaimedFolderIsNobodyElses) {
  auto const modeOf = [&](char const* name) { return fs::status(drive() / name).permissions(); };
  EXPECT_EQ(files().claimDirectory(u"C:\\own\\new"), Claim::made);
  EXPECT_EQ(files().claimDirectory(u"C:\\own\\new"), Claim::own);
  ::chmod((drive() / "own" / "new").c_str(), 0777);
  overlay::OverlayMachine overlay(machine());
  EXPECT_EQ(overlay.files().claimDirectory(u"C:\\own\\new"), Claim::takenOver);
  EXPECT_EQ(modeOf("own/new"), fs::perms(0777));
  EXPECT_EQ(files().claimDirectory(u"C:\\own\\new"), Claim::takenOver);
  EXPECT_EQ(modeOf("own/new"), fs::perms(0755));
  for (Files* const provider : {&files(), &overlay.files()}) {
    EXPECT_THAT(errorOf<SystemError>([&] { provider->claimDirectory(u"C:\\shared\\folder"); }),
                AllOf(HasSubstr("may be replaced by others"), HasSubstr(untrusted)));
  }
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::lchown((drive() / "own" / "new").c_str(), nobody, nobody);
  for (Files* const provider : {&files(), &overlay.files()}) {
    EXPECT_THAT(errorOf<SystemError>([&] { provider->claimDirectory(u"C:\\own\\new"); }),
                AllOf(HasSubstr("belongs to nobody"), HasSubstr(untrusted)));
  }
}

TEST_F(OthersFolders, AreToldOfByTheOpenFileToo) {
  EXPECT_FALSE(files().openForReading(u"C:\\own\\victim")->foreignAccess().any());
  ::chmod((drive() / "own" / "victim").c_str(), 0666);
  EXPECT_EQ(files().openForReading(u"C:\\own\\victim")->foreignAccess(),
            (ForeignAccess{{}, true, false}));
  EXPECT_EQ(files().foreignAccess(u"C:\\own\\victim"), (ForeignAccess{{}, true, false}));
  EXPECT_EQ(files().foreignAccess(u"C:\\shared"), (ForeignAccess{{}, true, true}));
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  ::lchown((drive() / "own" / "victim").c_str(), nobody, nobody);
  EXPECT_EQ(files().openForReading(u"C:\\own\\victim")->foreignAccess(),
            (ForeignAccess{u"nobody", true, true}));
}

}  // namespace
}  // namespace machine
