#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// When the service control manager starts a service; the values of winsvc.h.
enum class ServiceStart : std::uint32_t { automatic = 2, manual = 3, disabled = 4 };

/// The values of winsvc.h.
enum class ServiceState : std::uint32_t {
  stopped = 1,
  startPending = 2,
  stopPending = 3,
  running = 4,
  continuePending = 5,
  pausePending = 6,
  paused = 7,
};

/// What the service control manager does when a service ends without having been told to.
struct ServiceRecovery {
  enum class Kind : std::uint32_t { none = 0, restart = 1, reboot = 2, runCommand = 3 };
  struct Action {
    Kind kind = Kind::none;
    std::chrono::milliseconds delay{0};

    bool operator==(Action const&) const = default;
  };
  std::vector<Action> actions;         ///< for the first failure, the second, ...; the last repeats
  std::chrono::seconds resetAfter{0};  ///< without a failure for so long, counting starts anew

  bool operator==(ServiceRecovery const&) const = default;
};

/// A service that runs in a process of its own.
struct ServiceDefinition {
  UString displayName;
  UString description;
  /// The program and its arguments as the system keeps them. A path with blanks must stand in
  /// quotes: without them the system would first try the path up to each blank.
  UString commandLine;
  ServiceStart start = ServiceStart::automatic;
  ServiceRecovery recovery;

  bool operator==(ServiceDefinition const&) const = default;
};

/// The machine's services. Names are compared without regard to case. Operations throw SystemError
/// for failures not given an outcome here.
class Services {
 public:
  virtual ~Services() = default;

  /// nullopt when there is no such service.
  virtual std::optional<ServiceDefinition> definition(std::u16string_view name) = 0;
  virtual std::optional<ServiceState> state(std::u16string_view name) = 0;
  /// Creates the service, to run as LocalSystem, or gives an existing one this definition; its
  /// account and whether it runs stay.
  virtual void set(std::u16string_view name, ServiceDefinition const& definition) = 0;
  /// False when there is no such service. A running one goes when it has ended.
  virtual bool remove(std::u16string_view name) = 0;
  /// Starts the service and waits until it runs; nothing when it does. ErrorCode::timeout when it
  /// takes longer than `timeout`; a service that ends instead of running is an error too.
  virtual void start(std::u16string_view name, std::chrono::milliseconds timeout) = 0;
  /// Stops the service and waits until it has ended; nothing when it has. ErrorCode::timeout when
  /// it takes longer than `timeout`.
  virtual void stop(std::u16string_view name, std::chrono::milliseconds timeout) = 0;
};

}  // namespace machine
