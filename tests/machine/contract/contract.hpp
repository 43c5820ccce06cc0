#pragma once

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

/// What every provider of a machine promises. A provider's test makes one Provider and instantiates
/// the suites with it:
///
///   INSTANTIATE_MACHINE_CONTRACT(Simulated, simulatedProvider());
namespace contract {

/// A machine with room to work in, cleared away at the end.
class MachineUnderTest {
 public:
  virtual ~MachineUnderTest() = default;
  virtual machine::Machine& machine() = 0;
  /// An empty folder: absolute, without a separator at the end.
  virtual machine::UString folder() = 0;
  /// A key that does not exist, in a key that does.
  virtual machine::RegistryKey key() = 0;
  /// A program that ends with exit code 0.
  virtual machine::ProcessStart program() = 0;
  /// A DLL that exports RegisterOLEServer2.
  virtual machine::UString module() = 0;
  /// A program that can run as a service under serviceName().
  virtual machine::UString serviceProgram() = 0;
  /// No such service exists, and the machine takes away what was made of it.
  virtual machine::UString serviceName() { return u"RegistrationContractTest"; }
  /// Has a web server hold a file; its URL.
  virtual machine::UString publish(std::string_view name, std::string_view content) = 0;
  /// False where files that are written do not come to the host: there the tests cannot make what
  /// the machine itself cannot, such as links.
  virtual bool keepsFilesOnHost() { return true; }
  /// Where the host keeps a file of the machine.
  virtual std::filesystem::path hostPath(std::u16string_view path) = 0;
  /// False where the host keeps a provider from paths longer than 260 units.
  virtual bool takesLongPaths() { return true; }
  /// False where the host keeps no recovery actions of a service.
  virtual bool keepsRecovery() { return true; }
};

struct Provider {
  std::string name;
  std::function<std::unique_ptr<MachineUnderTest>()> make;
};

inline std::ostream& operator<<(std::ostream& out, Provider const& provider) {
  return out << provider.name;
}

class Contract : public ::testing::TestWithParam<Provider> {
 protected:
  machine::Machine& machine() { return under_->machine(); }
  machine::UString in(std::u16string_view name) {
    return machine::path_grammar::join(under_->folder(), name);
  }
  MachineUnderTest& under() { return *under_; }

 private:
  std::unique_ptr<MachineUnderTest> under_ = GetParam().make();
};

class FilesContract : public Contract {
 protected:
  machine::Files& files() { return machine().files(); }
  void write(std::u16string_view path, std::string_view content,
             machine::WriteMode mode = machine::WriteMode::truncate);
  std::string read(std::u16string_view path);
  /// "name", "folder\" and "link@", in order, separated by blanks.
  std::string list(std::u16string_view path);
  /// The code of the SystemError that `call` throws; 0 when it throws none.
  static std::uint32_t errorOf(std::function<void()> const& call);
  /// Makes a link of the host. False where the host makes none, or where it keeps no files.
  bool makeLink(std::u16string_view link, std::u16string_view target);
};

class RegistryContract : public Contract {
 protected:
  machine::Registry& registry() { return machine().registry(); }
  machine::RegistryKey key() { return under().key(); }
  machine::RegistryKey below(std::u16string_view name) {
    auto result = key();
    result.path.append(u"\\").append(name);
    return result;
  }
};

class EnvironmentContract : public Contract {
 protected:
  machine::Environment& environment() { return machine().environment(); }
};

class ShellContract : public FilesContract {
 protected:
  machine::Shell& shell() { return machine().shell(); }
};

class TasksContract : public Contract {
 protected:
  ~TasksContract() override { tasks().remove(name()); }
  machine::Tasks& tasks() { return machine().tasks(); }
  /// In a folder; the task does not exist.
  machine::UString name() { return u"Registration Contract Test\\Task"; }
  static machine::TaskDefinition definition();
};

class ServicesContract : public Contract {
 protected:
  machine::Services& services() { return machine().services(); }
  machine::UString name() { return under().serviceName(); }
  /// Of the program that can run as a service.
  machine::ServiceDefinition definition();
};

class DownloadsContract : public Contract {
 protected:
  /// What a download brought.
  struct Answer {
    std::uint32_t status = 0;
    std::string body;
  };
  static constexpr machine::DownloadLimits limits{1 << 20, std::chrono::seconds(20),
                                                  std::chrono::seconds(60)};
  Answer get(std::u16string_view url, machine::DownloadLimits const& within = limits);
};
class ProcessesContract : public Contract {};
class ModulesContract : public Contract {
 protected:
  machine::Modules& modules() { return machine().modules(); }
  /// Calls the function for the test's folder. The module lies there where its name has no folder.
  machine::ModuleCall call(std::u16string_view module,
                           std::string const& entryPoint = "RegisterOLEServer2") {
    bool const hasFolder = machine::path_grammar::isAbsolute(module);
    return callOf(hasFolder ? machine::UString(module) : in(module), module, entryPoint);
  }
  machine::ModuleCall callOf(std::u16string_view file, std::u16string_view module,
                             std::string const& entryPoint = "RegisterOLEServer2") {
    return modules().callEntryPoint(module, file, entryPoint,
                                    {machine::toUtf8(in(u"")), "two", ""});
  }
  std::string content(std::u16string_view file) {
    auto const reader = machine().files().openForReading(file);
    std::string bytes;
    std::array<char, 4096> part;
    while (std::size_t const count = reader->read(part)) bytes.append(part.data(), count);
    return bytes;
  }
};
class ClockContract : public Contract {};
class MachineLockContract : public Contract {};

}  // namespace contract

/// Runs every suite of the contract but that of the downloads for one Provider.
#define INSTANTIATE_MACHINE_CONTRACT_WITHOUT_DOWNLOADS(prefix, provider)              \
  namespace contract {                                                                \
  INSTANTIATE_TEST_SUITE_P(prefix, FilesContract, ::testing::Values(provider));       \
  INSTANTIATE_TEST_SUITE_P(prefix, RegistryContract, ::testing::Values(provider));    \
  INSTANTIATE_TEST_SUITE_P(prefix, EnvironmentContract, ::testing::Values(provider)); \
  INSTANTIATE_TEST_SUITE_P(prefix, TasksContract, ::testing::Values(provider));       \
  INSTANTIATE_TEST_SUITE_P(prefix, ServicesContract, ::testing::Values(provider));    \
  INSTANTIATE_TEST_SUITE_P(prefix, ShellContract, ::testing::Values(provider));       \
  INSTANTIATE_TEST_SUITE_P(prefix, ProcessesContract, ::testing::Values(provider));   \
  INSTANTIATE_TEST_SUITE_P(prefix, ModulesContract, ::testing::Values(provider));     \
  INSTANTIATE_TEST_SUITE_P(prefix, ClockContract, ::testing::Values(provider));       \
  INSTANTIATE_TEST_SUITE_P(prefix, MachineLockContract, ::testing::Values(provider)); \
  }                                                                                   \
  static_assert(true, "takes the semicolon")

/// Runs every suite of the contract for one Provider.
#define INSTANTIATE_MACHINE_CONTRACT(prefix, provider)                              \
  INSTANTIATE_MACHINE_CONTRACT_WITHOUT_DOWNLOADS(prefix, provider);                 \
  namespace contract {                                                              \
  INSTANTIATE_TEST_SUITE_P(prefix, DownloadsContract, ::testing::Values(provider)); \
  }                                                                                 \
  static_assert(true, "takes the semicolon")
