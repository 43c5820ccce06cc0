#include "machine/windows/windows_machine.hpp"

#include "machine/windows/parts.hpp"

namespace machine::windows {

WindowsMachine::WindowsMachine()
    : files_(makeFiles()),
      registry_(makeRegistry()),
      environment_(makeEnvironment()),
      shell_(makeShell()),
      processes_(makeProcesses()),
      modules_(makeModules()),
      tasks_(makeTasks()),
      services_(makeServices()),
      downloads_(makeDownloads()),
      clock_(makeClock()),
      lock_(makeMachineLock()) {}

WindowsMachine::~WindowsMachine() = default;

}  // namespace machine::windows
