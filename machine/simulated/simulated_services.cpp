#include "machine/simulated/simulated_services.hpp"

#include <array>

#include "machine/error.hpp"

namespace machine::simulated {

using nlohmann::json;

namespace {

constexpr std::uint32_t serviceDisabled = 1058;      // ERROR_SERVICE_DISABLED
constexpr std::uint32_t serviceDoesNotExist = 1060;  // ERROR_SERVICE_DOES_NOT_EXIST
constexpr std::size_t longestName = 256;             // winsvc.h

template <typename Value>
struct Named {
  Value value;
  char const* name;
};

constexpr std::array<Named<ServiceStart>, 3> starts{{{ServiceStart::automatic, "automatic"},
                                                     {ServiceStart::manual, "manual"},
                                                     {ServiceStart::disabled, "disabled"}}};

constexpr std::array<Named<ServiceRecovery::Kind>, 4> kinds{
    {{ServiceRecovery::Kind::none, "none"},
     {ServiceRecovery::Kind::restart, "restart"},
     {ServiceRecovery::Kind::reboot, "reboot"},
     {ServiceRecovery::Kind::runCommand, "runCommand"}}};

template <typename Table, typename Value>
char const* nameOf(Table const& table, Value value) {
  for (auto const& row : table)
    if (row.value == value) return row.name;
  return "unknown";
}

template <typename Table>
auto valueOf(Table const& table, JsonValue const& json) {
  for (auto const& row : table)
    if (json.text() == row.name) return row.value;
  json.refuse("is not known");
}

json recoveryRecord(ServiceRecovery const& recovery) {
  json actions = json::array();
  for (auto const& action : recovery.actions)
    actions.push_back(
        {{"kind", nameOf(kinds, action.kind)}, {"delayMilliseconds", action.delay.count()}});
  return {{"actions", std::move(actions)}, {"resetAfterSeconds", recovery.resetAfter.count()}};
}

ServiceRecovery readRecovery(JsonValue const& record) {
  ServiceRecovery recovery;
  for (auto const& action : record.member("actions").elements()) {
    auto const delay = action.member("delayMilliseconds").number(UINT32_MAX);
    recovery.actions.push_back(
        {valueOf(kinds, action.member("kind")), std::chrono::milliseconds(delay)});
  }
  recovery.resetAfter = std::chrono::seconds(record.member("resetAfterSeconds").number(UINT32_MAX));
  return recovery;
}

ServiceDefinition readDefinition(JsonValue const& record) {
  return {toUtf16(record.member("displayName").text()),
          toUtf16(record.member("description").text()),
          toUtf16(record.member("commandLine").text()), valueOf(starts, record.member("start")),
          readRecovery(record.member("recovery"))};
}

/// The program of a command line, as the system finds it: to the second quote, or else, of all the
/// names up to a blank, the first that exists.
UString programOf(UString const& commandLine, Files& files) {
  if (commandLine.starts_with(u'"')) return commandLine.substr(1, commandLine.find(u'"', 1) - 1);
  for (auto end = commandLine.find(u' '); end != UString::npos;
       end = commandLine.find(u' ', end + 1)) {
    auto const name = commandLine.substr(0, end);
    for (auto const& candidate : {name, name + u".exe"})
      if (auto const status = files.status(candidate); status && !status->isDirectory)
        return candidate;
  }
  return commandLine;
}

bool isName(std::u16string_view name) {
  return !name.empty() && name.size() <= longestName &&
         name.find_first_of(std::u16string_view(u"/\\\0", 3)) == std::u16string_view::npos;
}

}  // namespace

void SimulatedServices::readServices(JsonValue const& document) {
  std::map<UString, Service> services;
  for (auto const& [name, record] : document.member("services").members()) {
    auto const wideName = toUtf16(name);
    Service service{wideName, readDefinition(record), false,
                    record.member("starts").number(UINT64_MAX)};
    auto const running = record.member("running");
    if (!running.json().is_boolean()) running.refuse("must be true or false");
    service.running = running.json().get<bool>();
    if (!services.emplace(foldCase(wideName), std::move(service)).second)
      record.refuse("is there twice, in different case");
  }
  services_ = std::move(services);
}

std::optional<ServiceDefinition> SimulatedServices::definition(std::u16string_view name) {
  auto const* service = find(name);
  return service ? std::optional(service->definition) : std::nullopt;
}

std::optional<ServiceState> SimulatedServices::state(std::u16string_view name) {
  auto const* service = find(name);
  if (!service) return std::nullopt;
  return service->running ? ServiceState::running : ServiceState::stopped;
}

void SimulatedServices::set(std::u16string_view name, ServiceDefinition const& definition) {
  if (!isName(name)) throw SystemError("set the service", name, ErrorCode::invalidName);
  if (definition.commandLine.empty())
    throw SystemError("set the service", name, ErrorCode::invalidParameter);
  auto& service = services_[foldCase(name)];
  if (service.name.empty()) service.name = name;
  service.definition = definition;
}

bool SimulatedServices::remove(std::u16string_view name) {
  return services_.erase(foldCase(name)) != 0;
}

void SimulatedServices::start(std::u16string_view name, std::chrono::milliseconds) {
  auto& service = existing("start the service", name);
  if (service.running) return;
  if (service.definition.start == ServiceStart::disabled)
    throw SystemError("start the service", name, serviceDisabled,
                      "The service cannot be started, either because it is disabled or because it "
                      "has no enabled devices associated with it.");
  auto const status = files_.status(programOf(service.definition.commandLine, files_));
  if (!status || status->isDirectory)
    throw SystemError("start the service", name, ErrorCode::fileNotFound);
  service.running = true;
  ++service.starts;
}

void SimulatedServices::stop(std::u16string_view name, std::chrono::milliseconds) {
  existing("stop the service", name).running = false;
}

json SimulatedServices::toJson() const {
  auto services = json::object();
  for (auto const& [folded, service] : services_) {
    auto const& definition = service.definition;
    services[toUtf8(service.name)] = {{"displayName", toUtf8(definition.displayName)},
                                      {"description", toUtf8(definition.description)},
                                      {"commandLine", toUtf8(definition.commandLine)},
                                      {"start", nameOf(starts, definition.start)},
                                      {"recovery", recoveryRecord(definition.recovery)},
                                      {"running", service.running},
                                      {"starts", service.starts}};
  }
  return {{"services", std::move(services)}};
}

SimulatedServices::Service* SimulatedServices::find(std::u16string_view name) {
  auto const found = services_.find(foldCase(name));
  return found == services_.end() ? nullptr : &found->second;
}

SimulatedServices::Service& SimulatedServices::existing(std::string_view operation,
                                                        std::u16string_view name) {
  auto* const service = find(name);
  if (!service)
    throw SystemError(operation, name, serviceDoesNotExist,
                      "The specified service does not exist as an installed service.");
  return *service;
}

}  // namespace machine::simulated
