#include <gmock/gmock.h>

#include <algorithm>

#include "tests/component_framework/framework_fixture.hpp"

/// How this tree's framework finds a manifest in a DLL; an installed one has a way of its own.
namespace component_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class EmbeddedManifest : public FrameworkTest {};

/// A PE file that is nothing but headers and one section named ".bundle".
std::string peFile(std::string_view manifest) {
  std::string file(64 + 24 + 40, '\0');
  file.replace(0, 2, "MZ");
  file[60] = 64;
  file.replace(64, 4, std::string_view("PE\0\0", 4));
  file[64 + 6] = 1;  // one section, no optional header
  file.replace(88, 7, ".bundle");
  auto const put = [&](std::size_t at, std::size_t value) {
    for (int i = 0; i < 4; ++i) {
      file[at++] = static_cast<char>(value >> 8 * i);
    }
  };
  put(88 + 8, manifest.size());
  put(88 + 16, manifest.size());
  put(88 + 20, file.size());
  return file + std::string(manifest);
}

TEST_F(EmbeddedManifest, TheManifestIsFoundInAPeFileOnEveryHost) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "small.dll";
  write(file, peFile(R"({"bundle.symbolic_name": "small"})"));
  EXPECT_EQ(context().InstallBundles(utf8(file)).at(0).GetSymbolicName(), "small");
}

TEST_F(EmbeddedManifest, ANestingThatWouldExhaustTheStackIsRefused) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "deep.dll";
  write(file, peFile("{\"a\":" + std::string(500'000, '[')));
  EXPECT_THAT(installFailure(file), HasSubstr("nested too deeply"));
}

TEST_F(EmbeddedManifest, BracketsInATextAreNoNesting) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "small.dll";
  write(file, peFile(R"({"bundle.symbolic_name": "small", "a": "\"\\)" + std::string(100, '[') +
                     R"(", "b": [[1], [2]]})"));
  EXPECT_EQ(context().InstallBundles(utf8(file)).at(0).GetSymbolicName(), "small");
}

TEST_F(EmbeddedManifest, AManifestBeyondEverySizeIsNone) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "large.dll";
  write(file, peFile(std::string(2 << 20, ' ')));
  EXPECT_THAT(installFailure(file), StartsWith("Could not init zip archive"));
}

TEST_F(EmbeddedManifest, NoCutAndNoChangedHeaderByteDoesHarm) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / (std::string("damaged") + BUNDLE_SUFFIX);
  std::vector<std::string> const originals{content(bundleFile("passive/passive")),
                                           peFile(R"({"bundle.symbolic_name": "small"})")};
  for (auto const& original : originals) {
    auto const tryOut = [&](std::string const& bytes) {
      write(file, bytes);
      try {
        context().InstallBundles(utf8(file)).at(0).Uninstall();
      } catch (std::runtime_error const&) {
      }
    };
    auto const step = std::max<std::size_t>(original.size() / 60, 1);
    for (std::size_t length = 0; length < original.size(); length += step) {
      tryOut(original.substr(0, length));
    }
    for (std::size_t at = 0; at < std::min<std::size_t>(original.size(), 130); ++at) {
      for (char const value : {'\xFF', '\x01'}) {
        auto changed = original;
        changed[at] = value;
        tryOut(changed);
      }
    }
    auto const table = original.size() - std::min<std::size_t>(original.size(), 2048);
    for (std::size_t at = table; at < original.size(); at += 16) {
      auto changed = original;
      changed[at] = '\xFF';
      tryOut(changed);
    }
  }
  EXPECT_EQ(context().GetBundles().size(), 1u);
}

}  // namespace
}  // namespace component_tests
