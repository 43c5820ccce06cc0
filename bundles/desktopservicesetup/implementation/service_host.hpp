#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/services.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// How the service host is to be run, told by service.json of its installer package:
///
///   { "version": 1, "program": "brantixservicehost.exe", "arguments": [] }
///
/// `program` is relative to the service host's folder.
struct ServiceHost {
  Path program;
  std::vector<fl::i18n::UString> arguments;
};

/// Throws std::runtime_error for a text that is not such a document, or that names a program
/// outside the folder. `name`: the file's, for that error.
ServiceHost parseServiceHost(std::string const& name, std::string_view text);

/// The service for the service host in `folder`: starts with the system, and again a minute after
/// each failure.
machine::ServiceDefinition serviceFor(ServiceHost const& host, Path const& folder);

/// The machine's service of the service host, while it is being replaced.
class ServiceReplacement {
 public:
  /// Remembers what there is.
  explicit ServiceReplacement(std::chrono::milliseconds timeout);

  void stopOld();
  void registerNew(machine::ServiceDefinition const& definition);
  void startNew();

  /// Stops the new one, if it runs; throws nothing.
  void stopNew() noexcept;
  /// Restores the definition remembered, or removes the service when there was none, and starts it
  /// when it ran; throws nothing. REQUIRES: the files it runs from are back.
  void takeBack() noexcept;

 private:
  std::chrono::milliseconds timeout_;
  std::optional<machine::ServiceDefinition> oldDefinition_;
  bool wasRunning_;
};

}  // namespace desktopservicesetup
