#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_modules.hpp"
#include "benchmarks/native_walk.hpp"
#include "benchmarks/sandbox.hpp"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "cppmicroservices/ServiceObjects.h"

namespace benchmarks {

namespace {

constexpr int bundles = 50;
constexpr int rounds = 5;
constexpr int services = 1'000;
constexpr int lookUps = 10'000;

std::string bundleBytes() {
  std::ifstream stream(BENCHMARK_BUNDLE, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string const version = "1.0.000";

/// Copies of one bundle that differ in their versions, so that each can be installed. A DLL that is
/// loaded once stays loaded: each round needs files of its own.
class Copies {
 public:
  explicit Copies(std::string const& name) {
    auto bytes = bundleBytes();
    auto const at = bytes.find(version);
    for (int round = 0; round <= rounds; ++round) {
      auto const folder = hostPath(workFolder()) / (name + std::to_string(round));
      std::filesystem::create_directories(folder);
      rounds_.emplace_back();
      for (int i = 0; i < bundles; ++i) {
        auto const number = std::to_string(1000 + i).substr(1);
        std::copy(number.begin(), number.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(at + version.size() - 3));
        auto const file = folder / (name + std::to_string(round) + "-" + number + BUNDLE_SUFFIX);
        std::ofstream(file, std::ios::binary) << bytes;
        rounds_.back().push_back(std::filesystem::absolute(file));
      }
    }
  }
  std::vector<std::filesystem::path> const& next() { return rounds_.at(next_++); }

 private:
  std::vector<std::vector<std::filesystem::path>> rounds_;
  std::size_t next_ = 0;
};

cppmicroservices::Framework startedFramework() {
  auto framework = cppmicroservices::FrameworkFactory().NewFramework();
  framework.Start();
  return framework;
}

void startBundles() {
  if (bundleBytes().find(version) == std::string::npos) {
    std::printf("  50 bundles: not measured, the framework keeps manifests compressed\n");
    return;
  }
  Copies ours("ours");
  Copies bare("bare");
  std::vector<cppmicroservices::Framework> frameworks;
  printRatio(
      "50 bundles installed and started / 50 DLLs loaded", "none", rounds,
      [&] {
        frameworks.push_back(startedFramework());
        auto context = frameworks.back().GetBundleContext();
        std::vector<cppmicroservices::Bundle> installed;
        for (auto const& file : ours.next()) {
          installed.push_back(context.InstallBundles(file.string()).at(0));
        }
        for (auto& bundle : installed) {
          bundle.Start();
        }
      },
      [&] {
        for (auto const& file : bare.next()) {
          nativeLoad(file);
        }
      });
  for (auto& framework : frameworks) {
    framework.Stop();
  }
}

void lookUpServices() {
  auto framework = startedFramework();
  auto context = framework.GetBundleContext();
  std::map<std::string, std::shared_ptr<void>> map;
  std::vector<std::string> ids;
  for (int i = 0; i < services; ++i) {
    ids.push_back("product::component" + std::to_string(i) + "::Service");
    auto const object = std::make_shared<int>(i);
    map.emplace(ids.back(), object);
    std::ignore = context.RegisterService(std::make_shared<cppmicroservices::InterfaceMap const>(
        cppmicroservices::InterfaceMap{{ids.back(), object}}));
  }
  std::size_t found = 0;
  printRatio(
      "10,000 of 1,000 services looked up and gotten / std::map::find", "none", 9,
      [&] {
        for (int i = 0; i < lookUps; ++i) {
          auto const reference =
              context.GetServiceReference(ids[static_cast<std::size_t>(i * 7 % services)]);
          cppmicroservices::ServiceReferenceBase const& base = reference;
          found += context.GetService(base) != nullptr;
        }
      },
      [&] {
        for (int i = 0; i < lookUps; ++i) {
          std::shared_ptr<void> const object =
              map.find(ids[static_cast<std::size_t>(i * 7 % services)])->second;
          found += object != nullptr;
        }
      });
  if (found != 2 * 10 * lookUps) {
    throw std::logic_error("a service was not found");
  }
}

}  // namespace

void components() {
  startBundles();
  lookUpServices();
}

}  // namespace benchmarks
