#pragma once

#include <span>
#include <string>

#include "tools/regplan/catalogue.hpp"

namespace regplan {

/// The JSON Schema (draft-07) of plans with these commands and options, indented. What only reading
/// a plan shows, such as a member given twice, its description tells.
std::string planSchema(std::span<CommandDescription const> commands,
                       std::span<OptionDescription const> options);

}  // namespace regplan
