#pragma once

#include "machine/machine.hpp"

namespace tests {

/// Another machine with some of its parts replaced by a test's own. All must outlive it.
class SubstitutedMachine : public machine::Machine {
 public:
  explicit SubstitutedMachine(machine::Machine& base) : base_(base) {}

  void replace(machine::Files& files) { files_ = &files; }
  void replace(machine::Registry& registry) { registry_ = &registry; }
  void replace(machine::Environment& environment) { environment_ = &environment; }
  void replace(machine::Shell& shell) { shell_ = &shell; }
  void replace(machine::Processes& processes) { processes_ = &processes; }
  void replace(machine::Modules& modules) { modules_ = &modules; }
  void replace(machine::Tasks& tasks) { tasks_ = &tasks; }
  void replace(machine::Services& services) { services_ = &services; }
  void replace(machine::Downloads& downloads) { downloads_ = &downloads; }
  void replace(machine::Clock& clock) { clock_ = &clock; }
  void replace(machine::MachineLock& lock) { lock_ = &lock; }

  machine::Files& files() override { return files_ ? *files_ : base_.files(); }
  machine::Registry& registry() override { return registry_ ? *registry_ : base_.registry(); }
  machine::Environment& environment() override {
    return environment_ ? *environment_ : base_.environment();
  }
  machine::Shell& shell() override { return shell_ ? *shell_ : base_.shell(); }
  machine::Processes& processes() override { return processes_ ? *processes_ : base_.processes(); }
  machine::Modules& modules() override { return modules_ ? *modules_ : base_.modules(); }
  machine::Tasks& tasks() override { return tasks_ ? *tasks_ : base_.tasks(); }
  machine::Services& services() override { return services_ ? *services_ : base_.services(); }
  machine::Downloads& downloads() override { return downloads_ ? *downloads_ : base_.downloads(); }
  machine::Clock& clock() override { return clock_ ? *clock_ : base_.clock(); }
  machine::MachineLock& lock() override { return lock_ ? *lock_ : base_.lock(); }

 private:
  machine::Machine& base_;
  machine::Files* files_ = nullptr;
  machine::Registry* registry_ = nullptr;
  machine::Environment* environment_ = nullptr;
  machine::Shell* shell_ = nullptr;
  machine::Processes* processes_ = nullptr;
  machine::Modules* modules_ = nullptr;
  machine::Tasks* tasks_ = nullptr;
  machine::Services* services_ = nullptr;
  machine::Downloads* downloads_ = nullptr;
  machine::Clock* clock_ = nullptr;
  machine::MachineLock* lock_ = nullptr;
};

}  // namespace tests
