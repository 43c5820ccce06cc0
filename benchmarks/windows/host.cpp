#include <windows.h>
// windows.h first
#include <psapi.h>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"

namespace benchmarks {

struct Sandbox::Host {};

Sandbox::Sandbox() {
  fl::filesystem::remove_all(workFolder());
  fl::filesystem::create_directories(workFolder());
}

Sandbox::~Sandbox() {
  try {
    fl::filesystem::remove_all(workFolder());
  } catch (std::exception const&) {  // what cannot be removed is removed by the next run
  }
}

double peakMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return static_cast<double>(counters.PeakWorkingSetSize) / (1024 * 1024);
}

}  // namespace benchmarks
