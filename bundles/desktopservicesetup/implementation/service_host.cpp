#include "bundles/desktopservicesetup/implementation/service_host.hpp"

#include <exception>

#include "bundles/desktopservicesetup/implementation/json_document.hpp"
#include "bundles/desktopservicesetup/implementation/setup_failure.hpp"
#include "install/cpputil/zip_names.hpp"
#include "machine/command_line.hpp"
#include "machine/machine.hpp"

namespace desktopservicesetup {

using fl::i18n::UString;

namespace {

constexpr char16_t const* serviceName = u"BrantixServiceHost";

machine::Services& services() {
  return machine::current().services();
}

/// For what is done on the way back from a failure, whose own failure has another one to report.
template <typename Step>
void attempt(Step&& step) noexcept {
  try {
    step();
  } catch (std::exception const& failure) {
    try {
      reportFailure(std::string("taking back: ") + failure.what());
    } catch (std::exception const&) {
      // The log itself fails.
    }
  }
}

}  // namespace

ServiceHost parseServiceHost(std::string const& name, std::string_view text) {
  JsonDocument const document(name, text);
  std::string const program = document.text("program");
  auto const& arguments = document.member("arguments");
  if (program.ends_with('/') || !install::cpputil::problemOfZipName(program).empty()) {
    document.refuse("program");
  }
  if (!arguments.is_array()) {
    document.refuse("arguments");
  }
  ServiceHost host{Path(fl::i18n::utf8_to_ustring(program)).make_native(), {}};
  for (auto const& argument : arguments) {
    if (!argument.is_string()) {
      document.refuse("arguments");
    }
    host.arguments.push_back(fl::i18n::utf8_to_ustring(argument.get<std::string>()));
    if (host.arguments.back().find(u'\0') != UString::npos) {
      document.refuse("arguments");
    }
  }
  return host;
}

machine::ServiceDefinition serviceFor(ServiceHost const& host, Path const& folder) {
  using Kind = machine::ServiceRecovery::Kind;
  machine::ServiceDefinition definition;
  definition.displayName = u"Brantix Service Host";
  definition.description = u"Runs the desktop services of Vortan.";
  definition.commandLine =
      machine::command_line::join((folder / host.program).ustring(), host.arguments);
  definition.start = machine::ServiceStart::automatic;
  definition.recovery.actions.assign(3, {Kind::restart, std::chrono::minutes(1)});
  definition.recovery.resetAfter = std::chrono::hours(24);
  return definition;
}

ServiceReplacement::ServiceReplacement(std::chrono::milliseconds timeout)
    : timeout_(timeout), oldDefinition_(services().definition(serviceName)) {
  auto const state = services().state(serviceName);
  wasRunning_ = state && *state != machine::ServiceState::stopped;
}

void ServiceReplacement::stopOld() {
  if (wasRunning_) {
    services().stop(serviceName, timeout_);
  }
}

void ServiceReplacement::registerNew(machine::ServiceDefinition const& definition) {
  services().set(serviceName, definition);
}

void ServiceReplacement::startNew() {
  services().start(serviceName, timeout_);
}

void ServiceReplacement::stopNew() noexcept {
  attempt([&] {
    if (services().state(serviceName)) {
      services().stop(serviceName, timeout_);
    }
  });
}

void ServiceReplacement::takeBack() noexcept {
  attempt([&] {
    if (!oldDefinition_) {
      services().remove(serviceName);
      return;
    }
    services().set(serviceName, *oldDefinition_);
    if (wasRunning_) {
      services().start(serviceName, timeout_);
    }
  });
}

}  // namespace desktopservicesetup
