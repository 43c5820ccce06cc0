#include "machine/service_rules.hpp"

namespace machine {

namespace {

constexpr std::uint32_t serviceDisabled = 1058;      // ERROR_SERVICE_DISABLED
constexpr std::uint32_t serviceDoesNotExist = 1060;  // ERROR_SERVICE_DOES_NOT_EXIST
constexpr std::size_t longestName = 256;             // winsvc.h

bool isName(std::u16string_view name) {
  constexpr std::u16string_view refused(u"/\\\0", 3);
  return !name.empty() && name.size() <= longestName && name.find_first_of(refused) == name.npos;
}

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

}  // namespace

void requireService(std::u16string_view name, ServiceDefinition const& definition) {
  if (!isName(name)) throw SystemError("set the service", name, ErrorCode::invalidName);
  if (definition.commandLine.empty())
    throw SystemError("set the service", name, ErrorCode::invalidParameter);
}

void requireEnabled(std::u16string_view name, ServiceDefinition const& definition) {
  if (definition.start == ServiceStart::disabled)
    throw SystemError("start the service", name, serviceDisabled,
                      "The service cannot be started, either because it is disabled or because it "
                      "has no enabled devices associated with it.");
}

void requireProgram(std::u16string_view name, ServiceDefinition const& definition, Files& files) {
  auto const status = files.status(programOf(definition.commandLine, files));
  if (!status || status->isDirectory)
    throw SystemError("start the service", name, ErrorCode::fileNotFound);
}

SystemError missingService(std::string_view operation, std::u16string_view name) {
  return SystemError(operation, name, serviceDoesNotExist,
                     "The specified service does not exist as an installed service.");
}

}  // namespace machine
