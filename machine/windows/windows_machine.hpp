#pragma once

#include <memory>

#include "machine/machine.hpp"

namespace machine::windows {

/// The computer that this process runs on.
class WindowsMachine final : public Machine {
 public:
  WindowsMachine();
  ~WindowsMachine() override;

  Files& files() override { return *files_; }
  Registry& registry() override { return *registry_; }
  Environment& environment() override { return *environment_; }
  Shell& shell() override { return *shell_; }
  Processes& processes() override { return *processes_; }
  Modules& modules() override { return *modules_; }
  Tasks& tasks() override { return *tasks_; }
  Services& services() override { return *services_; }
  Downloads& downloads() override { return *downloads_; }
  Clock& clock() override { return *clock_; }
  MachineLock& lock() override { return *lock_; }

 private:
  std::unique_ptr<Files> files_;
  std::unique_ptr<Registry> registry_;
  std::unique_ptr<Environment> environment_;
  std::unique_ptr<Shell> shell_;
  std::unique_ptr<Processes> processes_;
  std::unique_ptr<Modules> modules_;
  std::unique_ptr<Tasks> tasks_;
  std::unique_ptr<Services> services_;
  std::unique_ptr<Downloads> downloads_;
  std::unique_ptr<Clock> clock_;
  std::unique_ptr<MachineLock> lock_;
};

}  // namespace machine::windows
