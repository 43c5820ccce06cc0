#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/layers/vortanconnector/installationsregistry/sandboxed_registry.hpp"
#include "tests/support/machine_fixture.hpp"
#include "vortanconnector/installationsregistry/installations_registry.hpp"

namespace vortanconnector::installationsregistry {
namespace {

using nlohmann::json;

class TwoWriters : public tests::MachineTest {
 protected:
  /// A process of its own that ends with what `body` returns.
  template <class Body>
  static pid_t start(Body body) {
    pid_t const child = ::fork();
    if (child == 0) {
      int code = 1;
      try {
        code = body();
      } catch (...) {
      }
      ::_exit(code);
    }
    return child;
  }
  static int exitStatus(pid_t child) {
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
  }
  json records() {
    return json::parse(
        readFile(at(u"ProgramData\\Brantix\\Installations\\installations.json")))["installations"];
  }
  static int addMany(UString const& drive) {
    for (int i = 0; i < 25; ++i) {
      addVortanRecord(drive + fl::i18n::to_ustring(std::to_string(i)), u"");
    }
    return 0;
  }

  tests::SandboxedRegistry sandbox_{machine(), at(u"ProgramData")};
  machine::ScopedMachine scope_{sandbox_.machine()};
};

TEST_F(TwoWriters, ProcessesAtOnceLoseNoRecord) {
  pid_t const one = start([] { return addMany(u"D:\\"); });
  pid_t const two = start([] { return addMany(u"E:\\"); });
  EXPECT_EQ(exitStatus(one), 0);
  EXPECT_EQ(exitStatus(two), 0);
  EXPECT_EQ(records().size(), 50u);
}

/// Ends the process when the finished file is to be moved to its place.
class KilledBeforeMove final : public machine::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;
  void rename(std::u16string_view, std::u16string_view, bool) override { ::raise(SIGKILL); }
};

TEST_F(TwoWriters, AKilledOneLeavesTheOldFileAndNoLock) {
  addVortanRecord(UString(u"C:\\a"), u"");
  pid_t const child = start([&] {
    KilledBeforeMove files(sandbox_.machine().files());
    tests::SubstitutedMachine killed(sandbox_.machine());
    killed.replace(files);
    machine::ScopedMachine const scope(killed);
    addVortanRecord(UString(u"C:\\b"), u"");
    return 0;
  });
  EXPECT_TRUE(WIFSIGNALED(exitStatus(child)));
  EXPECT_EQ(records().size(), 1u);
  EXPECT_TRUE(exists(at(u"ProgramData\\Brantix\\Installations\\installations.json.tmp")));
  EXPECT_TRUE(addVortanRecord(UString(u"C:\\c"), u""));
  EXPECT_EQ(records().size(), 2u);
}

TEST_F(TwoWriters, ALinkInThePlaceOfTheRegistryIsRefused) {
  makeDirectory(at(u"ProgramData"));
  makeDirectory(at(u"elsewhere\\Installations"));
  std::filesystem::create_directory_symlink(hostPath(at(u"elsewhere")),
                                            hostPath(at(u"ProgramData\\Brantix")));
  EXPECT_THROW(addVortanRecord(UString(u"C:\\a"), u""), std::runtime_error);
  EXPECT_FALSE(exists(at(u"elsewhere\\Installations\\installations.json")));
  EXPECT_FALSE(exists(at(u"elsewhere\\Installations\\installations.json.lock")));
}

}  // namespace
}  // namespace vortanconnector::installationsregistry
