#include "tools/regplan/plan.hpp"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <set>
#include <utility>

#include "fl/i18n/ustring.hpp"
#include "machine/json/document.hpp"
#include "machine/path_grammar.hpp"
#include "machine/printable.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using Json = nlohmann::ordered_json;
using machine::printable;
using machine::json::below;

std::string_view kindOf(Json const& value) {
  switch (value.type()) {
    case Json::value_t::null:
      return "null";
    case Json::value_t::boolean:
      return value.get<bool>() ? "true" : "false";
    case Json::value_t::string:
      return "text";
    case Json::value_t::array:
      return "a list";
    case Json::value_t::object:
      return "an object";
    default:
      return "a number";
  }
}

template <typename Descriptions>
std::vector<std::string_view> namesOf(Descriptions const& descriptions) {
  std::vector<std::string_view> names;
  names.reserve(std::size(descriptions));
  for (auto const& description : descriptions) names.push_back(description.name);
  return names;
}

template <typename Descriptions>
auto findNamed(Descriptions const& descriptions, std::string_view name) {
  auto const found = std::ranges::find_if(
      descriptions, [name](auto const& description) { return description.name == name; });
  return found == std::ranges::end(descriptions) ? nullptr : &*found;
}

Given asGiven(std::string const& name, Json const& value) {
  return {name, value.is_string() ? value.get<std::string>() : value.dump()};
}

/// Reads one plan from its JSON value. Each reading function returns nullopt after it has added
/// what is wrong, so that the caller goes on with the next part.
class PlanReader {
 public:
  PlanReader(std::span<CommandDescription const> commands, PlanErrors& errors)
      : known_(commands), errors_(errors) {}

  Plan read(Json const& document) {
    Plan plan;
    if (!isObject(document, "")) return plan;
    static constexpr std::array<std::string_view, 3> known = {"$schema", "options", "commands"};
    for (auto const& [name, value] : document.items()) {
      if (std::ranges::find(known, name) == known.end()) {
        errors_.add(below("", name), unknown("member of a plan", name, known));
      }
    }
    Options const options = readOptions(document, plan);
    if (!document.contains("commands")) {
      errors_.add("/commands", "missing; a plan needs a list of commands");
    } else {
      readCommands(document.at("commands"), options, plan);
    }
    return plan;
  }

 private:
  bool isObject(Json const& value, std::string const& place) {
    return value.is_object() || wrongType(value, place, "an object");
  }
  bool isList(Json const& value, std::string const& place) {
    return value.is_array() || wrongType(value, place, "a list");
  }
  bool wrongType(Json const& value, std::string const& place, std::string const& wanted) {
    errors_.add(place, "must be " + wanted + ", not " + std::string(kindOf(value)));
    return false;
  }

  std::optional<bool> readBoolean(Json const& value, std::string const& place) {
    if (value.is_boolean()) return value.get<bool>();
    wrongType(value, place, "true or false");
    return std::nullopt;
  }

  std::optional<UString> readText(Json const& value, std::string const& place) {
    if (!value.is_string()) {
      wrongType(value, place, "text");
      return std::nullopt;
    }
    return withoutNul(value.get_ref<std::string const&>(), place);
  }

  /// Windows ends a text at its first NUL; what it would cut off is refused instead.
  std::optional<UString> withoutNul(std::string const& utf8, std::string const& place) {
    if (utf8.find('\0') == std::string::npos) return fl::i18n::utf8_to_ustring(utf8);
    errors_.add(place, "must not contain the character U+0000");
    return std::nullopt;
  }

  std::optional<Path> readPath(Json const& value, std::string const& place) {
    std::optional<UString> text = readText(value, place);
    if (!text || !isPath(*text, place)) return std::nullopt;
    return Path(*std::move(text));
  }

  bool isPath(UString const& text, std::string const& place) {
    if (machine::path_grammar::isAbsolute(text)) return true;
    errors_.add(place, "must be an absolute path, such as C:\\folder, not " +
                           inQuotes(fl::i18n::ustring_to_utf8(text)));
    return false;
  }

  std::optional<std::uint32_t> readNumber(Json const& value, std::string const& place) {
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() <= most) {
      return value.get<std::uint32_t>();
    }
    std::string const wanted = "a " + std::string(typeName(ArgumentType::number));
    if (value.is_number()) {
      errors_.add(place, "must be " + wanted);
    } else {
      wrongType(value, place, wanted);
    }
    return std::nullopt;
  }

  std::optional<std::vector<Path>> readPaths(Json const& value, std::string const& place) {
    if (!isList(value, place)) return std::nullopt;
    std::vector<Path> paths;
    for (std::size_t i = 0; i < value.size(); ++i) {
      std::optional<Path> path = readPath(value[i], below(place, i));
      if (path) paths.push_back(*std::move(path));
    }
    if (paths.size() != value.size()) return std::nullopt;
    return paths;
  }

  std::optional<HKEY> readRoot(Json const& value, std::string const& place) {
    if (!value.is_string()) {
      wrongType(value, place, "text");
      return std::nullopt;
    }
    auto const& name = value.get_ref<std::string const&>();
    RootDescription const* const root = findNamed(rootCatalogue(), name);
    if (root) return root->handle();
    errors_.add(place, unknown("registry root " + inQuotes(name), name, namesOf(rootCatalogue())));
    return std::nullopt;
  }

  std::optional<registryKey> readRegistryKey(Json const& value, std::string const& place) {
    if (!isObject(value, place)) return std::nullopt;
    static std::vector<std::string_view> const members = {"root", "keyPath", "valueName", "value"};
    for (auto const& [name, member] : value.items()) {
      if (std::ranges::find(members, name) == members.end()) {
        errors_.add(below(place, name), unknown("member of a registry value", name, members));
      }
    }
    auto const read = [&](char const* name, auto reader) {
      std::string const memberPlace = below(place, name);
      if (value.contains(name)) return (this->*reader)(value.at(name), memberPlace);
      errors_.add(memberPlace,
                  "missing; a registry value needs root, keyPath, valueName and value");
      return decltype((this->*reader)(value, memberPlace)){};
    };
    std::optional<HKEY> const root = read("root", &PlanReader::readRoot);
    std::optional<UString> const keyPath = read("keyPath", &PlanReader::readText);
    std::optional<UString> const valueName = read("valueName", &PlanReader::readText);
    std::optional<UString> const text = read("value", &PlanReader::readText);
    if (!root || !keyPath || !valueName || !text) return std::nullopt;
    return registryKey{*root, *keyPath, *valueName, *text};
  }

  std::optional<std::list<registryKey>> readRegistryKeys(Json const& value,
                                                         std::string const& place) {
    if (!isList(value, place)) return std::nullopt;
    std::list<registryKey> keys;
    for (std::size_t i = 0; i < value.size(); ++i) {
      std::optional<registryKey> key = readRegistryKey(value[i], below(place, i));
      if (key) keys.push_back(*std::move(key));
    }
    if (keys.size() != value.size()) return std::nullopt;
    return keys;
  }

  std::optional<OptionDescription::TargetFolders> readTargetFolders(Json const& value,
                                                                    std::string const& place) {
    if (!isObject(value, place)) return std::nullopt;
    OptionDescription::TargetFolders folders;
    for (auto const& [name, folder] : value.items()) {
      std::string const memberPlace = below(place, name);
      std::optional<UString> linkPath = withoutNul(name, memberPlace);
      std::optional<Path> target = readPath(folder, memberPlace);
      if (linkPath && isPath(*linkPath, memberPlace) && target)
        folders.emplace(*std::move(linkPath), target->ustring());
    }
    return folders;
  }

  Options readOptions(Json const& document, Plan& plan) {
    Options::Values values;
    auto const given = document.find("options");
    if (given == document.end() || !isObject(*given, "/options")) return Options(values);
    for (auto const& [name, value] : given->items()) {
      std::string const place = below("/options", name);
      plan.options.push_back(asGiven(name, value));
      OptionDescription const* const option = findNamed(optionCatalogue(), name);
      if (option) {
        readOption(*option, value, place, values);
      } else {
        errors_.add(place, unknown("option", name, namesOf(optionCatalogue())));
      }
    }
    return Options(std::move(values));
  }

  void readOption(OptionDescription const& option, Json const& value, std::string const& place,
                  Options::Values& values) {
    auto const fill = [&values](auto field, auto const& read) {
      if (read) values.*field = *read;
    };
    if (auto const* flag = std::get_if<bool Options::Values::*>(&option.field)) {
      fill(*flag, readBoolean(value, place));
    } else if (auto const* text = std::get_if<UString Options::Values::*>(&option.field)) {
      auto const read = readText(value, place);
      if (!option.isPath || (read && isPath(*read, place))) fill(*text, read);
    } else {
      fill(std::get<OptionDescription::TargetFolders Options::Values::*>(option.field),
           readTargetFolders(value, place));
    }
  }

  std::optional<ArgumentValue> readArgument(ArgumentDescription const& argument, Json const& value,
                                            std::string const& place) {
    if (argument.need == Need::notEmpty && value.is_string() &&
        value.get_ref<std::string const&>().empty()) {
      errors_.add(place, "must not be empty");
      return std::nullopt;
    }
    switch (argument.type) {
      case ArgumentType::text:
        return readText(value, place);
      case ArgumentType::path:
        return readPath(value, place);
      case ArgumentType::boolean:
        return readBoolean(value, place);
      case ArgumentType::number:
        return readNumber(value, place);
      case ArgumentType::paths:
        return readPaths(value, place);
      case ArgumentType::registryKeys:
        return readRegistryKeys(value, place);
    }
    return std::nullopt;
  }

  void readCommands(Json const& value, Options const& options, Plan& plan) {
    if (!isList(value, "/commands")) return;
    for (std::size_t i = 0; i < value.size(); ++i) {
      readCommand(value[i], below("/commands", i), options, plan);
    }
  }

  void readCommand(Json const& value, std::string const& place, Options const& options,
                   Plan& plan) {
    CommandDescription const* const description = describedCommand(value, place);
    if (!description) return;
    requireOptions(*description, plan);
    std::optional<Arguments> const arguments = readArguments(*description, value, place);
    if (!arguments) return;
    std::unique_ptr<Command const> command = make(*description, options, *arguments, place);
    if (!command) return;
    plan.commands.push_back({std::string(description->name), std::move(command)});
    for (auto const& [name, argument] : value.items()) {
      if (name != "command") plan.commands.back().arguments.push_back(asGiven(name, argument));
    }
  }

  /// Each that is missing is told once, with the first command that needs it.
  void requireOptions(CommandDescription const& command, Plan const& plan) {
    for (std::string_view const name : command.neededOptions) {
      if (std::ranges::find(plan.options, name, &Given::name) != plan.options.end()) continue;
      if (!missing_.insert(name).second) continue;
      errors_.add(below("/options", name), "missing; " + std::string(command.name) + " needs it");
    }
  }

  CommandDescription const* describedCommand(Json const& value, std::string const& place) {
    if (!isObject(value, place)) return nullptr;
    std::string const namePlace = below(place, "command");
    auto const given = value.find("command");
    if (given == value.end()) {
      errors_.add(namePlace, "missing; it names the command");
      return nullptr;
    }
    if (!given->is_string()) {
      wrongType(*given, namePlace, "text");
      return nullptr;
    }
    auto const& name = given->get_ref<std::string const&>();
    CommandDescription const* const description = findNamed(known_, name);
    if (!description) {
      errors_.add(namePlace, unknown("command " + inQuotes(name), name, namesOf(known_)));
    }
    return description;
  }

  std::optional<Arguments> readArguments(CommandDescription const& command, Json const& value,
                                         std::string const& place) {
    Arguments arguments;
    bool complete = true;
    for (auto const& [name, member] : value.items()) {
      if (name == "command") continue;
      std::string const memberPlace = below(place, name);
      ArgumentDescription const* const argument = findNamed(command.arguments, name);
      std::optional<ArgumentValue> read;
      if (argument) {
        read = readArgument(*argument, member, memberPlace);
      } else {
        errors_.add(memberPlace, unknown("argument of " + std::string(command.name), name,
                                         namesOf(command.arguments)));
      }
      if (read) {
        arguments.set(name, *std::move(read));
      } else {
        complete = false;
      }
    }
    for (ArgumentDescription const& argument : command.arguments) {
      if (!argument.isRequired() || value.contains(argument.name)) continue;
      errors_.add(below(place, argument.name), "missing; " + std::string(command.name) +
                                                   " needs it (" +
                                                   std::string(typeName(argument.type)) + ")");
      complete = false;
    }
    if (!complete) return std::nullopt;
    return arguments;
  }

  std::unique_ptr<Command const> make(CommandDescription const& description, Options const& options,
                                      Arguments const& arguments, std::string const& place) {
    try {
      return description.make(options, arguments);
    } catch (std::exception const& refusal) {
      errors_.add(place, printable(refusal.what()));
    } catch (...) {
      errors_.add(place, "refused by the command with an exception that carries no text");
    }
    return nullptr;
  }

  std::span<CommandDescription const> known_;
  PlanErrors& errors_;
  std::set<std::string_view> missing_;
};

}  // namespace

std::optional<Plan> readPlan(std::string_view text, PlanErrors& errors,
                             std::span<CommandDescription const> commands) {
  std::optional<Json> const document = machine::json::parse(
      text, planNestingLimit, [&errors](std::string const& place, std::string const& reason) {
        errors.add(place, reason);
      });
  if (!document) return std::nullopt;
  Plan plan = PlanReader(commands, errors).read(*document);
  if (!errors.empty()) return std::nullopt;
  return plan;
}

}  // namespace regplan
