#include "machine/overlay/overlay_machine.hpp"
#include "machine/windows/windows_machine.hpp"
#include "tests/machine/contract/contract.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/machine/windows/web_server.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tests/support/wine.hpp"

namespace contract {

namespace {

using machine::UString;

class WindowsUnderTest : public MachineUnderTest {
 public:
  ~WindowsUnderTest() override {
    machine_.registry().removeKey(key());
    try {
      machine_.services().stop(serviceName(), std::chrono::seconds(20));
    } catch (machine::SystemError const&) {
      // Most tests make no service.
    }
    machine_.services().remove(serviceName());
  }

  machine::Machine& machine() override { return machine_; }
  UString folder() override { return machine::fromWide(directory_.path().native()); }
  machine::RegistryKey key() override {
    return {machine::RegistryRoot::localMachine, u"SOFTWARE\\RegistrationContractTest"};
  }
  machine::ProcessStart program() override {
    machine::ProcessStart start;
    start.program = machine_.shell().knownFolder(machine::KnownFolder::system) + u"\\cmd.exe";
    start.arguments = {u"/c", u"exit"};
    return start;
  }
  UString module() override { return tests::testProgram(u"automation_server.dll"); }
  UString serviceProgram() override { return tests::testProgram(u"service_host.exe"); }
  bool keepsRecovery() override { return !tests::isWine(); }
  UString publish(std::string_view name, std::string_view content) override {
    server_.answer(std::string(name), tests::WebServer::whole(content));
    return server_.url(name);
  }
  std::filesystem::path hostPath(std::u16string_view path) override {
    return machine::toWide(path);
  }

 private:
  machine::windows::WindowsMachine machine_;
  tests::TemporaryFolder directory_;
  tests::WebServer server_;
};

/// What is written stays before the computer.
class OverlayUnderTest final : public WindowsUnderTest {
 public:
  machine::Machine& machine() override { return overlay_; }
  bool keepsFilesOnHost() override { return false; }
  bool keepsRecovery() override { return true; }

 private:
  machine::overlay::OverlayMachine overlay_{WindowsUnderTest::machine()};
};

Provider overlayProvider() {
  return {"overlay over windows", [] { return std::make_unique<OverlayUnderTest>(); }};
}

Provider windowsProvider() {
  return {"windows", [] { return std::make_unique<WindowsUnderTest>(); }};
}

}  // namespace

}  // namespace contract

INSTANTIATE_MACHINE_CONTRACT(Windows, windowsProvider());
INSTANTIATE_MACHINE_CONTRACT_WITHOUT_DOWNLOADS(OverlayOverWindows, overlayProvider());
