#include "machine/overlay/overlay_machine.hpp"

#include "machine/overlay/overlay_files.hpp"
#include "machine/overlay/overlay_parts.hpp"
#include "machine/overlay/overlay_registry.hpp"
#include "machine/simulated/simulated_processes.hpp"

namespace machine::overlay {

struct OverlayMachine::Parts {
  explicit Parts(Machine& inner)
      : clock(inner.clock()),
        files(inner.files()),
        registry(inner.registry()),
        environment(inner.environment()),
        shell(inner.shell(), files),
        processes(files),
        modules(files, environment, shell),
        tasks(inner.tasks()),
        services(inner.services(), files) {}

  Clock& clock;
  OverlayFiles files;
  OverlayRegistry registry;
  OverlayEnvironment environment;
  OverlayShell shell;
  simulated::SimulatedProcesses processes;
  OverlayModules modules;
  OverlayTasks tasks;
  OverlayServices services;
  NoDownloads downloads;
  NoLock lock;
};

OverlayMachine::OverlayMachine(Machine& inner) : parts_(std::make_unique<Parts>(inner)) {}

OverlayMachine::~OverlayMachine() = default;

Files& OverlayMachine::files() {
  return parts_->files;
}

Registry& OverlayMachine::registry() {
  return parts_->registry;
}

Environment& OverlayMachine::environment() {
  return parts_->environment;
}

Shell& OverlayMachine::shell() {
  return parts_->shell;
}

Processes& OverlayMachine::processes() {
  return parts_->processes;
}

Modules& OverlayMachine::modules() {
  return parts_->modules;
}

Tasks& OverlayMachine::tasks() {
  return parts_->tasks;
}

Services& OverlayMachine::services() {
  return parts_->services;
}

Downloads& OverlayMachine::downloads() {
  return parts_->downloads;
}

Clock& OverlayMachine::clock() {
  return parts_->clock;
}

MachineLock& OverlayMachine::lock() {
  return parts_->lock;
}

OverlayMachine::Footprint OverlayMachine::footprint() const {
  auto const& parts = *parts_;
  return {parts.files.names() + parts.registry.names() + parts.environment.names() +
              parts.tasks.names() + parts.services.names(),
          parts.files.bytes() + parts.registry.bytes()};
}

}  // namespace machine::overlay
