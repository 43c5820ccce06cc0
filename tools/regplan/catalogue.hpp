#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "registration/commands/SetRegistryKeys.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

/// Everything a plan may contain, told once: reading, checking and listing plans go by these
/// tables. A new command is one entry in catalogue.cpp.
namespace regplan {

using registration::Path;
using registration::UString;
using registration::commands::registryKey;
using registration::utility::Command;
using registration::utility::Options;

enum class ArgumentType {
  text,
  path,  ///< absolute: a relative one would lead to wherever the program was started
  boolean,
  number,        ///< a whole number of 32 bits, unsigned
  paths,         ///< a list of them
  registryKeys,  ///< a list of objects: root, keyPath, valueName, value
};

/// "text", "list of absolute paths" and so on, as people are told.
std::string_view typeName(ArgumentType type);

/// The value of an argument; one alternative for each ArgumentType, in the same order.
using ArgumentValue =
    std::variant<UString, Path, bool, std::uint32_t, std::vector<Path>, std::list<registryKey>>;

/// The arguments that a plan gives to one command.
class Arguments {
 public:
  void set(std::string_view name, ArgumentValue value) {
    values_.insert_or_assign(std::string(name), std::move(value));
  }
  /// The value; an empty one (false, 0) when the plan leaves the argument out. REQUIRES: T is the
  /// type that the catalogue states for it.
  template <typename T>
  T get(std::string_view name) const {
    auto const found = values_.find(name);
    return found == values_.end() ? T{} : std::get<T>(found->second);
  }

 private:
  std::map<std::string, ArgumentValue, std::less<>> values_;
};

enum class Need {
  optional,
  required,
  notEmpty,  ///< required, and a text that must not be empty
};

struct ArgumentDescription {
  std::string_view name;
  ArgumentType type;
  Need need;
  std::string_view description;

  bool isRequired() const { return need != Need::optional; }
};

/// A command as plans name it. `make` throws what the command's constructor throws.
struct CommandDescription {
  std::string_view name;
  std::string_view description;
  std::vector<ArgumentDescription> arguments;
  std::unique_ptr<Command const> (*make)(Options const& options, Arguments const& arguments);
  /// Names of the options that a plan with this command gives: folders that it works in.
  std::vector<std::string_view> neededOptions{};
};

/// What the command does, and which options it needs.
std::string descriptionOf(CommandDescription const& command);

/// The commands regplan knows, by name.
std::span<CommandDescription const> commandCatalogue();

/// An option as plans name it, and the field it fills.
struct OptionDescription {
  using TargetFolders = std::map<Path, UString>;
  using Field = std::variant<bool Options::Values::*, UString Options::Values::*,
                             TargetFolders Options::Values::*>;

  std::string_view name;
  Field field;
  std::string_view description;
  bool isPath = false;  ///< of a text: an absolute path
};

/// "absolute path", "true or false" or what else the option takes.
std::string_view typeName(OptionDescription const& option);

std::span<OptionDescription const> optionCatalogue();

/// A predefined registry root as plans name it.
struct RootDescription {
  std::string_view name;
  HKEY (*handle)();
};

std::span<RootDescription const> rootCatalogue();

}  // namespace regplan
