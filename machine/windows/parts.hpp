#pragma once

#include <memory>

#include "machine/machine.hpp"

/// The parts of the Windows machine, each in the source file of its name.
namespace machine::windows {

std::unique_ptr<Files> makeFiles();
std::unique_ptr<Registry> makeRegistry();
std::unique_ptr<Environment> makeEnvironment();
std::unique_ptr<Shell> makeShell();
std::unique_ptr<Processes> makeProcesses();
std::unique_ptr<Modules> makeModules();
std::unique_ptr<Tasks> makeTasks();
std::unique_ptr<Services> makeServices();
std::unique_ptr<Downloads> makeDownloads();
std::unique_ptr<Clock> makeClock();
/// `name`: the kernel object's, without a user's.
std::unique_ptr<MachineLock> makeMachineLock(
    std::u16string_view name = u"Global\\Vortan registration");

}  // namespace machine::windows
