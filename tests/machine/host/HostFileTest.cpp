#include <gtest/gtest.h>

#include <system_error>

#include "machine/host/host_file.hpp"
#include "tests/support/temporary_folder.hpp"

namespace {

using machine::HostFile;
using machine::host::OpenMode;

template <class Call>
std::string errorOf(Call const& call) {
  try {
    call();
    return {};
  } catch (std::system_error const& error) {
    return error.what();
  }
}

TEST(HostFileTest, ErrorsNameTheFileAndTheOperation) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / u8"\u00e4";
  auto const error = errorOf([&] { HostFile(file, OpenMode::read); });
  EXPECT_TRUE(error.starts_with("open ")) << error;
  EXPECT_NE(error.find("\u00e4: "), error.npos) << error;
  HostFile written(file, OpenMode::createNew);
  std::array<char, 1> buffer;
  EXPECT_TRUE(errorOf([&] { written.read(buffer); }).starts_with("read "));
  EXPECT_NE(errorOf([&] { machine::renameHostFile(folder.path() / "none", folder.path() / "b"); }),
            "");
}

/// As a journal and a report do with their files, also where a usual path ends on Windows.
TEST(HostFileTest, PathsBeyondTheOldLimitWorkInEveryOperation) {
  tests::TemporaryFolder const top;
  auto folder = top.path();
  while (folder.native().size() < 190) {
    folder /= "a folder of a product with its release, long";
    std::filesystem::create_directory(folder);
  }
  auto const inner = folder / std::string(60, 'f');
  ASSERT_EQ(machine::host::makePrivateFolder(inner), 0);
  for (auto const mode :
       {OpenMode::createPrivate, OpenMode::createNew, OpenMode::truncate, OpenMode::append}) {
    auto const file = inner / std::string(64, '0');
    HostFile written(file, mode);
    written.write("content");
    written.close();
    auto const other = inner / std::string(64, '1');
    machine::renameHostFile(file, other);
    std::array<char, 100> buffer;
    EXPECT_EQ(HostFile(other, OpenMode::read).read(buffer), 7u);
    EXPECT_EQ(machine::host::removeFile(other), 0);
  }
  EXPECT_EQ(machine::host::flushFolder(inner), 0);
}

}  // namespace
