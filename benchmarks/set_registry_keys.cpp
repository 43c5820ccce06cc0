#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_registry.hpp"
#include "benchmarks/sandbox.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/SetRegistryKeys.hpp"

namespace benchmarks {

namespace {

constexpr int values = 5'000;
constexpr int valuesInKey = 50;

std::list<registration::commands::registryKey> records(std::string const& key, int inKey) {
  std::list<registration::commands::registryKey> list;
  for (int i = 0; i < values; ++i) {
    list.push_back(
        {install::postinstall::localMachineKey(),
         fl::i18n::to_ustring("SOFTWARE\\Brantix\\" + key + "\\k" + std::to_string(i / inKey)),
         fl::i18n::to_ustring("value" + std::to_string(i % inKey)),
         fl::i18n::to_ustring("data of value " + std::to_string(i))});
  }
  return list;
}

void compare(std::string const& what, std::string const& goal, int inKey) {
  auto const& util = install::postinstall::RegistryUtil::getRegistryUtil();
  registration::utility::Options const options(registration::utility::Options::Values{});
  registration::commands::SetRegistryKeys const ours(options, records("Ours", inKey), util);
  auto const bare = records("Bare", inKey);
  printRatio(
      what, "at most 1.1", 9, [&] { ours.execute(); }, [&] { nativeSet(bare); });
  for (auto const* key : {L"SOFTWARE\\Brantix\\Ours", L"SOFTWARE\\Brantix\\Bare"}) {
    util.deleteRegKey(install::postinstall::localMachineKey(), key);
  }
}

}  // namespace

void setRegistryKeys() {
  compare("5,000 values, 50 in each key: command / create, set, close", "at most 1.1", valuesInKey);
  compare("5,000 values, each in a key of its own: the same", "none", 1);
  install::cpputil::logger::set_destination(workFolder() / u"registration.log");
  compare("5,000 values, 50 in each key, with a log file: the same", "none", valuesInKey);
  install::cpputil::logger::close_destination();
}

}  // namespace benchmarks
