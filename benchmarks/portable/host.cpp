#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "fl/filesystem/operations.hpp"
#include "machine/simulated/simulated_machine.hpp"

namespace benchmarks {

struct Sandbox::Host {
  std::filesystem::path directory = std::filesystem::temp_directory_path() /
                                    ("registration-benchmark-" + std::to_string(getpid()));
  machine::simulated::SimulatedMachine machine{directory};
  machine::ScopedMachine scope{machine};
};

Sandbox::Sandbox() : host_(std::make_unique<Host>()) {
  fl::filesystem::create_directories(workFolder());
}

Sandbox::~Sandbox() {
  auto const directory = host_->directory;
  host_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

double peakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

}  // namespace benchmarks
