#pragma once

#include <ostream>
#include <span>

#include "tools/regplan/catalogue.hpp"

namespace regplan {

/// Writes the commands and options that a plan may contain for people, as plain text.
void writeCatalogue(std::ostream& output, std::span<CommandDescription const> commands,
                    std::span<OptionDescription const> options);

}  // namespace regplan
