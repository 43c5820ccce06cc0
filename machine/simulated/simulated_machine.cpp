#include "machine/simulated/simulated_machine.hpp"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "machine/host/host_file.hpp"
#include "machine/simulated/json_file.hpp"
#include "machine/simulated/simulated_downloads.hpp"
#include "machine/simulated/simulated_environment.hpp"
#include "machine/simulated/simulated_files.hpp"
#include "machine/simulated/simulated_lock.hpp"
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

/// A part's JSON file, and what the part had in it when the file was last read or written: only
/// what was changed since is written, so that a machine that others use too is not put back.
class KeptPart {
 public:
  KeptPart(std::filesystem::path file, std::function<nlohmann::json()> toJson,
           std::function<void(JsonValue const&)> read)
      : file_(std::move(file)), toJson_(std::move(toJson)), read_(std::move(read)) {}

  bool isOnDisk() const { return file_.exists(); }
  /// Takes over the file, if there is one and nothing was changed since it was last read.
  void readAgain() {
    if (!isOnDisk() || (kept_ && *kept_ != toJson_())) return;
    read_(file_.read());
    kept_ = toJson_();
  }
  void save() {
    auto now = toJson_();
    if (kept_ == now && isOnDisk()) return;
    file_.write(now);
    kept_ = std::move(now);
  }

 private:
  JsonFile file_;
  std::function<nlohmann::json()> toJson_;
  std::function<void(JsonValue const&)> read_;
  std::optional<nlohmann::json> kept_;
};

void layOut(std::filesystem::path const& directory) {
  for (auto const* folder :
       {"Program Files/Common Files", "Windows/System32", "Users/User/Desktop",
        "Users/User/AppData/Local/Temp",
        "Users/User/AppData/Roaming/Microsoft/Windows/Start Menu/Programs", "Users/Public/Desktop",
        "ProgramData/Microsoft/Windows/Start Menu/Programs"})
    std::filesystem::create_directories(directory / "C" / folder);
  HostFile const lock(directory / "lock", host::OpenMode::append);
}

}  // namespace

struct SimulatedMachine::Parts {
  explicit Parts(std::filesystem::path const& directory)
      : files(directory),
        registry(std::filesystem::weakly_canonical(directory).string()),
        shell(files),
        processes(files),
        modules(files, shell),
        services(files),
        downloads(directory / "web"),
        lock(
            directory / "lock", [this] { readAgain(); }, [this] { saveQuietly(); }) {
    keep(directory / "registry.json", registry,
         [this](JsonValue const& document) { registry = SimulatedRegistry(document); });
    isNew = !kept.front().isOnDisk();
    keep(directory / "environment.json", environment,
         [this](JsonValue const& document) { environment = SimulatedEnvironment(document); });
    keep(directory / "processes.json", processes,
         [this](JsonValue const& document) { processes.readLaunched(document); });
    keep(directory / "modules.json", modules,
         [this](JsonValue const& document) { modules.readCalls(document); });
    keep(directory / "tasks.json", tasks,
         [this](JsonValue const& document) { tasks = SimulatedTasks(document); });
    keep(directory / "shell.json", shell,
         [this](JsonValue const& document) { shell.readJson(document); });
    keep(directory / "services.json", services,
         [this](JsonValue const& document) { services.readServices(document); });
    readAgain();
    JsonFile exitCodes(directory / "processes-exit-codes.json");
    if (exitCodes.exists()) processes.readExitCodes(exitCodes.read());
  }

  template <typename Part, typename Read>
  void keep(std::filesystem::path file, Part const& part, Read read) {
    kept.emplace_back(
        std::move(file), [&part] { return part.toJson(); }, std::move(read));
  }
  void readAgain() {
    for (auto& part : kept) part.readAgain();
  }
  void save() {
    for (auto& part : kept) part.save();
  }
  void saveQuietly() {
    try {
      save();
    } catch (std::exception const&) {
      // Who wants to know calls SimulatedMachine::save().
    }
  }

  std::vector<KeptPart> kept;
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
  SimulatedLock lock;
};

SimulatedMachine::SimulatedMachine(std::filesystem::path directory) {
  // The machine stays where it is when the process changes its current folder.
  directory = std::filesystem::absolute(directory);
  parts_ = std::make_unique<Parts>(directory);
  if (parts_->isNew) layOut(directory);
}

SimulatedMachine::~SimulatedMachine() {
  parts_->saveQuietly();
}

void SimulatedMachine::save() {
  parts_->save();
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

MachineLock& SimulatedMachine::lock() {
  return parts_->lock;
}

}  // namespace machine::simulated
