#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/regplan/catalogue.hpp"
#include "tools/regplan/plan_errors.hpp"

namespace regplan {

/// An option or argument as the plan gives it, UTF-8.
struct Given {
  std::string name;
  std::string text;  ///< JSON where it is no text

  bool operator==(Given const&) const = default;
};

struct PlannedCommand {
  std::string name;
  std::unique_ptr<Command const> command;
  std::vector<Given> arguments{};
};

/// What a plan asks for: commands ready to run, in the plan's order.
struct Plan {
  std::vector<PlannedCommand> commands;
  std::vector<Given> options{};
};

/// The plan that the JSON `text` describes, or nullopt when anything in it is unknown, missing, of
/// the wrong type or refused by a command's constructor; then `errors` has all that was found, not
/// just the first. Nothing on the machine is touched.
std::optional<Plan> readPlan(std::string_view text, PlanErrors& errors,
                             std::span<CommandDescription const> commands = commandCatalogue());

}  // namespace regplan
