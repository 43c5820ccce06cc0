#include <fstream>

#include "machine/overlay/overlay_machine.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/watch/change_recorder.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/machine/contract/contract.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace contract {

namespace {

using machine::UString;

class SimulatedUnderTest : public MachineUnderTest {
 public:
  SimulatedUnderTest() {
    machine_.files().createDirectory(folder());
    machine_.files().openForWriting(u"C:\\Windows\\System32\\program.exe",
                                    machine::WriteMode::createNew);
    machine_.files()
        .openForWriting(module(), machine::WriteMode::createNew)
        ->write("UnRegisterOLEServer2\r\nRegisterOLEServer2\r\n");
  }

  machine::Machine& machine() override { return machine_; }
  UString folder() override { return u"C:\\contract test"; }
  machine::RegistryKey key() override {
    return {machine::RegistryRoot::localMachine, u"SOFTWARE\\ContractTest"};
  }
  machine::ProcessStart program() override {
    machine::ProcessStart start;
    start.program = u"C:\\Windows\\System32\\program.exe";
    return start;
  }
  UString module() override { return u"C:\\Windows\\System32\\module.dll"; }
  UString serviceProgram() override { return u"C:\\Windows\\System32\\program.exe"; }
  UString publish(std::string_view name, std::string_view content) override {
    auto const folder = directory_.path() / "web" / "http" / "localhost_8080" / "files";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << content;
    return u"http://localhost:8080/files/" + machine::toUtf16(name);
  }
  std::filesystem::path hostPath(std::u16string_view path) override {
    auto host = directory_.path() / "C";
    for (auto const name : machine::path_grammar::components(path)) host /= UString(name);
    return host;
  }
  bool takesLongPaths() override {
    return std::filesystem::path::preferred_separator == '/';  // Windows as the host does not
  }

 private:
  tests::TemporaryFolder directory_;
  machine::simulated::SimulatedMachine machine_{directory_.path()};
};

/// The same machine behind a decorator that changes nothing.
class DecoratedUnderTest final : public SimulatedUnderTest {
 public:
  machine::Machine& machine() override { return decorator_; }

 private:
  tests::FaultyMachine decorator_{SimulatedUnderTest::machine()};
};

/// The same machine while it is watched.
class WatchedUnderTest final : public SimulatedUnderTest {
 public:
  machine::Machine& machine() override { return watched_; }

 private:
  machine::watch::ChangeRecorder recorder_{SimulatedUnderTest::machine(), 0};
  machine::watch::WatchedMachine watched_{SimulatedUnderTest::machine(), {&recorder_}};
};

/// What is written stays before the same machine.
class OverlayUnderTest final : public SimulatedUnderTest {
 public:
  machine::Machine& machine() override { return overlay_; }
  bool keepsFilesOnHost() override { return false; }
  bool takesLongPaths() override { return true; }

 private:
  machine::overlay::OverlayMachine overlay_{SimulatedUnderTest::machine()};
};

template <typename UnderTest>
Provider provider(std::string name) {
  return {std::move(name), [] { return std::make_unique<UnderTest>(); }};
}

}  // namespace

}  // namespace contract

INSTANTIATE_MACHINE_CONTRACT(Simulated, provider<SimulatedUnderTest>("simulated"));
INSTANTIATE_MACHINE_CONTRACT(Decorated, provider<DecoratedUnderTest>("decorated"));
INSTANTIATE_MACHINE_CONTRACT(Watched, provider<WatchedUnderTest>("watched"));
INSTANTIATE_MACHINE_CONTRACT_WITHOUT_DOWNLOADS(Overlay, provider<OverlayUnderTest>("overlay"));
