#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkEvent.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "cppmicroservices/ServiceObjects.h"
#include "tests/component_framework/bundles/interfaces.hpp"
#include "tests/support/temporary_folder.hpp"

namespace component_tests {

/// A test bundle's file, given as "folder/name".
inline std::filesystem::path bundleFile(std::string const& name) {
  return std::filesystem::absolute(std::filesystem::path(BUNDLES_FOLDER) / (name + BUNDLE_SUFFIX));
}

inline std::string utf8(std::filesystem::path const& path) {
  auto const text = path.u8string();
  return {text.begin(), text.end()};
}

inline std::string content(std::filesystem::path const& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write(std::filesystem::path const& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

/// The text of the std::runtime_error (exactly: of that type's family) that `call` throws.
template <class Call>
std::string failure(Call&& call) {
  try {
    call();
  } catch (std::runtime_error const& thrown) {
    return thrown.what();
  }
  return "(nothing thrown)";
}

class RecordingJournal final : public Journal {
 public:
  void record(std::string const& event) override { events.push_back(event); }
  std::vector<std::string> events;
};

/// A framework that has been started, with a journal that bundles write in.
class FrameworkTest : public ::testing::Test {
 protected:
  FrameworkTest() {
    framework.Start();
    std::ignore = context().RegisterService<Journal>(journal);
  }
  ~FrameworkTest() override { stopFramework(); }

  void stopFramework() {
    framework.Stop();
    framework.WaitForStop(std::chrono::milliseconds::zero());
  }

  cppmicroservices::BundleContext context() { return framework.GetBundleContext(); }
  cppmicroservices::Bundle install(std::string const& name) {
    return context().InstallBundles(utf8(bundleFile(name))).at(0);
  }
  std::string installFailure(std::filesystem::path const& file) {
    return failure([&] { context().InstallBundles(utf8(file)); });
  }
  std::size_t greetings() { return context().GetServiceReferences<Greeting>().size(); }

  cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
  std::shared_ptr<RecordingJournal> journal = std::make_shared<RecordingJournal>();
};

}  // namespace component_tests
