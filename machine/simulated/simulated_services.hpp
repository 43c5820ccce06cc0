#pragma once

#include <map>

#include "machine/files.hpp"
#include "machine/services.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// Services in memory. One starts at once when its program exists, and stops at once.
class SimulatedServices final : public Services {
 public:
  /// Programs must exist in `files`, which must outlive this object.
  explicit SimulatedServices(Files& files) : files_(files) {}
  /// Takes over what toJson wrote. Throws std::runtime_error.
  void readServices(JsonValue const& document);

  std::optional<ServiceDefinition> definition(std::u16string_view name) override;
  std::optional<ServiceState> state(std::u16string_view name) override;
  void set(std::u16string_view name, ServiceDefinition const& definition) override;
  bool remove(std::u16string_view name) override;
  void start(std::u16string_view name, std::chrono::milliseconds timeout) override;
  void stop(std::u16string_view name, std::chrono::milliseconds timeout) override;

  /// {"services": {"Name": {"commandLine": "\"C:\\x y.exe\"", "start": "automatic",
  /// "running": true, "starts": 1, "recovery": {"actions": [{"kind": "restart",
  /// "delayMilliseconds": 60000}], "resetAfterSeconds": 86400}, ...}}}
  nlohmann::json toJson() const;

 private:
  struct Service {
    UString name;
    ServiceDefinition definition;
    bool running = false;
    std::uint64_t starts = 0;  ///< how often it was started
  };
  Service* find(std::u16string_view name);
  Service& existing(std::string_view operation, std::u16string_view name);

  Files& files_;
  std::map<UString, Service> services_;  // by folded name
};

}  // namespace machine::simulated
