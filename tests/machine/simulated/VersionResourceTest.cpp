#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "machine/simulated/version_resource.hpp"
#include "tests/support/program_image.hpp"

namespace machine::simulated {

namespace {

std::optional<FileVersion> read(std::string const& bytes) {
  std::istringstream file(bytes);
  return readVersionResource(file);
}

}  // namespace

TEST(VersionResource, TheFixedFileVersionIsRead) {
  EXPECT_EQ(read(program()), (FileVersion{25, 1, 0, 7}));
  EXPECT_EQ(read(program(0x10B)), (FileVersion{25, 1, 0, 7}));
}

TEST(VersionResource, AFileThatIsNoProgramHasNone) {
  EXPECT_FALSE(read(""));
  EXPECT_FALSE(read("MZ"));
  EXPECT_FALSE(read(std::string(4096, 'x')));
}

TEST(VersionResource, ATruncatedProgramHasNone) {
  auto const whole = program();
  auto const end = resources + 0x80 + 56;  // behind the last byte of the version
  for (std::size_t size = 0; size < end; ++size) ASSERT_FALSE(read(whole.substr(0, size))) << size;
  EXPECT_TRUE(read(whole.substr(0, end)));
}

TEST(VersionResource, DamagedProgramsDoNoHarm) {
  std::mt19937 random(20'240'604);
  auto const whole = program();
  for (int i = 0; i < 20'000; ++i) {
    auto damaged = whole;
    for (int change = 0; change < 3; ++change)
      damaged[random() % damaged.size()] = static_cast<char>(random() % 3 == 0 ? 0xFF : random());
    read(damaged);
  }
}

}  // namespace machine::simulated
