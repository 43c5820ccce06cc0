#include "tools/regplan/schema.hpp"

#include <limits>
#include <utility>

#include "tools/regplan/schema_parts.hpp"

namespace regplan {
namespace {

using namespace schema_parts;

/// Windows ends a text at its first NUL.
Json textSchema() {
  return {{"type", "string"}, {"pattern", "^[^\\u0000]*$"}};
}

Json pathSchema() {
  return {{"type", "string"}, {"pattern", "^([A-Za-z]:[\\\\/]|[\\\\/]{2})[^\\u0000]*$"}};
}

/// An object with exactly these members, of which `required` must be there.
Json objectSchema(Json const& members, Json const& required) {
  Json schema = {{"type", "object"}, {"additionalProperties", false}, {"properties", members}};
  if (!required.empty()) schema["required"] = required;
  return schema;
}

Json registryValueSchema() {
  Json roots = Json::array();
  for (RootDescription const& root : rootCatalogue()) roots.push_back(root.name);
  Json const members = {
      {"root", described("The predefined key.", {{"enum", roots}})},
      {"keyPath", described("The key below it.", textSchema())},
      {"valueName", described("Empty: the key's default value.", textSchema())},
      {"value", described("The text to store.", textSchema())},
  };
  return objectSchema(members, {"root", "keyPath", "valueName", "value"});
}

Json typeSchema(ArgumentType type) {
  switch (type) {
    case ArgumentType::text:
      return textSchema();
    case ArgumentType::path:
      return pathSchema();
    case ArgumentType::boolean:
      return {{"type", "boolean"}};
    case ArgumentType::number:
      return {{"type", "integer"},
              {"minimum", 0},
              {"maximum", std::numeric_limits<std::uint32_t>::max()}};
    case ArgumentType::paths:
      return listOf(pathSchema());
    case ArgumentType::registryKeys: {
      Json list = listOf(reference("registryValue"));
      list["minItems"] = 1;
      return list;
    }
  }
  return {};
}

Json argumentSchema(ArgumentDescription const& argument) {
  Json schema = described(argument.description, typeSchema(argument.type));
  if (argument.need == Need::notEmpty) schema["minLength"] = 1;
  return schema;
}

Json commandSchema(CommandDescription const& command) {
  Json members = {{"command", {{"const", command.name}}}};
  Json required = {"command"};
  for (ArgumentDescription const& argument : command.arguments) {
    members[argument.name] = argumentSchema(argument);
    if (argument.isRequired()) required.push_back(argument.name);
  }
  return described(descriptionOf(command), objectSchema(members, required));
}

Json optionSchema(OptionDescription const& option) {
  if (std::holds_alternative<bool Options::Values::*>(option.field)) return {{"type", "boolean"}};
  if (std::holds_alternative<UString Options::Values::*>(option.field))
    return option.isPath ? pathSchema() : textSchema();
  return {
      {"type", "object"}, {"propertyNames", pathSchema()}, {"additionalProperties", pathSchema()}};
}

Json optionsSchema(std::span<OptionDescription const> options) {
  Json members = Json::object();
  for (OptionDescription const& option : options) {
    members[option.name] = described(option.description, optionSchema(option));
  }
  return described("One left out is false or empty.", objectSchema(members, Json::array()));
}

Json commandsSchema(std::span<CommandDescription const> commands) {
  Json alternatives = Json::array();
  for (CommandDescription const& command : commands) {
    alternatives.push_back(reference(command.name));
  }
  return described("Run in this order, and undone in the same.", listOf({{"oneOf", alternatives}}));
}

}  // namespace

std::string planSchema(std::span<CommandDescription const> commands,
                       std::span<OptionDescription const> options) {
  Json schema = {
      {"$schema", "http://json-schema.org/draft-07/schema#"},
      {"title", "Plan for regplan"},
      {"description",
       "The registration steps of an installation. Beyond what is said here no member may be given "
       "twice, numbers are written without a fraction, options that a command needs are given, "
       "commands may refuse what they are given, and "
       "the file has at most 4 MiB and 32 objects and lists within one another."}};
  Json const members = {{"$schema", Json::object()},
                        {"options", optionsSchema(options)},
                        {"commands", commandsSchema(commands)}};
  schema.update(objectSchema(members, {"commands"}));
  schema["definitions"] = {{"registryValue", registryValueSchema()}};
  for (CommandDescription const& command : commands) {
    schema["definitions"][command.name] = commandSchema(command);
  }
  return schema.dump(2) + "\n";
}

}  // namespace regplan
