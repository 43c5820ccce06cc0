#include <gtest/gtest.h>

#include "install/postinstall/file_version.hpp"
#include "machine/forwarding.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

class VersionedFiles : public machine::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;
  std::optional<machine::FileVersion> fileVersion(std::u16string_view path) override {
    asked = path;
    return version;
  }

  std::optional<machine::FileVersion> version;
  machine::UString asked;
};

class ReadFileVersion : public tests::MachineTest {};

TEST_F(ReadFileVersion, WritesFourNumbersInDecimal) {
  VersionedFiles versioned(files());
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(versioned);
  machine::ScopedMachine const scope(substituted);
  versioned.version = machine::FileVersion{25, 1, 0, 65535};
  EXPECT_EQ(readFileVersion(u"C:\\a.exe"), u"25.1.0.65535");
  EXPECT_EQ(versioned.asked, u"C:\\a.exe");
  versioned.version.reset();
  EXPECT_EQ(readFileVersion(u"C:\\a.exe"), u"0.0.0.0");
}

TEST_F(ReadFileVersion, IsAllZeroForAFileWithout) {
  writeFile(at(u"a.exe"), "no program at all");
  EXPECT_EQ(readFileVersion(at(u"a.exe")), u"0.0.0.0");
  EXPECT_EQ(readFileVersion(at(u"missing.exe")), u"0.0.0.0");
  EXPECT_EQ(readFileVersion(root()), u"0.0.0.0");
  EXPECT_EQ(readFileVersion(u""), u"0.0.0.0");
}

}  // namespace
}  // namespace install::postinstall
