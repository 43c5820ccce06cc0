#include "machine/simulated/simulated_machine.hpp"

#include "machine/path_grammar.hpp"
#include "machine/simulated/json_file.hpp"
#include "machine/simulated/simulated_downloads.hpp"
#include "machine/simulated/simulated_environment.hpp"
#include "machine/simulated/simulated_files.hpp"
#include "machine/simulated/simulated_modules.hpp"
#include "machine/simulated/simulated_processes.hpp"
#include "machine/simulated/simulated_registry.hpp"
#include "machine/simulated/simulated_services.hpp"
#include "machine/simulated/simulated_shell.hpp"
#include "machine/simulated/simulated_tasks.hpp"

namespace machine::simulated {

namespace {

class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
};

template <typename Part>
Part readOrNew(JsonFile& file) {
  return file.exists() ? Part(file.read()) : Part();
}

void makeFolders(std::filesystem::path const& directory) {
  for (auto const* folder :
       {"Program Files/Common Files", "Windows/System32", "Users/User/Desktop",
        "Users/User/AppData/Local/Temp",
        "Users/User/AppData/Roaming/Microsoft/Windows/Start Menu/Programs", "Users/Public/Desktop",
        "ProgramData/Microsoft/Windows/Start Menu/Programs"})
    std::filesystem::create_directories(directory / "C" / folder);
}

}  // namespace

struct SimulatedMachine::Parts {
  explicit Parts(std::filesystem::path const& directory)
      : registryFile(directory / "registry.json"),
        environmentFile(directory / "environment.json"),
        processesFile(directory / "processes.json"),
        modulesFile(directory / "modules.json"),
        tasksFile(directory / "tasks.json"),
        shellFile(directory / "shell.json"),
        servicesFile(directory / "services.json"),
        isNew(!registryFile.exists()),
        files(directory),
        registry(readOrNew<SimulatedRegistry>(registryFile)),
        environment(readOrNew<SimulatedEnvironment>(environmentFile)),
        shell(files),
        processes(files),
        modules(files),
        tasks(readOrNew<SimulatedTasks>(tasksFile)),
        services(files),
        downloads(directory / "web") {
    JsonFile exitCodes(directory / "processes-exit-codes.json");
    if (shellFile.exists()) shell.readJson(shellFile.read());
    if (processesFile.exists()) processes.readLaunched(processesFile.read());
    if (modulesFile.exists()) modules.readCalls(modulesFile.read());
    if (servicesFile.exists()) services.readServices(servicesFile.read());
    if (exitCodes.exists()) processes.readExitCodes(exitCodes.read());
  }

  JsonFile registryFile;
  JsonFile environmentFile;
  JsonFile processesFile;
  JsonFile modulesFile;
  JsonFile tasksFile;
  JsonFile shellFile;
  JsonFile servicesFile;
  bool isNew;
  SimulatedFiles files;
  SimulatedRegistry registry;
  SimulatedEnvironment environment;
  SimulatedShell shell;
  SimulatedProcesses processes;
  SimulatedModules modules;
  SimulatedTasks tasks;
  SimulatedServices services;
  SimulatedDownloads downloads;
  SystemClock clock;
};

SimulatedMachine::SimulatedMachine(std::filesystem::path directory) {
  // The machine stays where it is when the process changes its current folder.
  directory = std::filesystem::absolute(directory);
  parts_ = std::make_unique<Parts>(directory);
  if (parts_->isNew) makeFolders(directory);
}

SimulatedMachine::~SimulatedMachine() {
  try {
    save();
  } catch (std::exception const&) {
    // Who wants to know calls save().
  }
}

void SimulatedMachine::save() {
  parts_->registryFile.write(parts_->registry.toJson());
  parts_->environmentFile.write(parts_->environment.toJson());
  parts_->processesFile.write(parts_->processes.toJson());
  parts_->modulesFile.write(parts_->modules.toJson());
  parts_->tasksFile.write(parts_->tasks.toJson());
  parts_->shellFile.write(parts_->shell.toJson());
  parts_->servicesFile.write(parts_->services.toJson());
}

void SimulatedMachine::setExitCode(std::u16string_view program, std::uint32_t code) {
  parts_->processes.setExitCode(program, code);
}

Files& SimulatedMachine::files() {
  return parts_->files;
}

Registry& SimulatedMachine::registry() {
  return parts_->registry;
}

Environment& SimulatedMachine::environment() {
  return parts_->environment;
}

Shell& SimulatedMachine::shell() {
  return parts_->shell;
}

Processes& SimulatedMachine::processes() {
  return parts_->processes;
}

Modules& SimulatedMachine::modules() {
  return parts_->modules;
}

Tasks& SimulatedMachine::tasks() {
  return parts_->tasks;
}

Services& SimulatedMachine::services() {
  return parts_->services;
}

Downloads& SimulatedMachine::downloads() {
  return parts_->downloads;
}

Clock& SimulatedMachine::clock() {
  return parts_->clock;
}

}  // namespace machine::simulated
