#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"

/// Runs the benchmarks whose name contains the first argument, or all of them.
int main(int argc, char** argv) {
  using namespace benchmarks;
  constexpr Benchmark all[] = {{"walk", walkTree},
                               {"add-path-entries", addPathEntries},
                               {"java-class-path", mergeJavaClassPath},
                               {"path-definition", pathDefinition},
                               {"existence", testExistence},
                               {"append-message", appendMessage},
                               {"set-registry-keys", setRegistryKeys},
                               {"rewrite-path", rewritePath},
                               {"components", components},
                               {"create-shortcuts", createShortcuts},
                               {"unpack", unpack},
                               {"installation-records", installationRecords},
                               {"journal", writeJournal},
                               {"preview", previewMemory}};
  std::string_view const wanted = argc > 1 ? argv[1] : "";
  try {
    for (Benchmark const& benchmark : all) {
      if (std::string_view(benchmark.name).find(wanted) != std::string_view::npos) {
        std::printf("%s\n", benchmark.name);
        Sandbox const sandbox;
        benchmark.run();
      }
    }
  } catch (std::exception const& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
