#pragma once

#include <utility>

#include "machine/tasks.hpp"

/// A task's members under the names that files of this system give them.
namespace machine {

inline constexpr std::pair<char const*, UString TaskDefinition::*> taskTexts[] = {
    {"application", &TaskDefinition::application},
    {"arguments", &TaskDefinition::arguments},
    {"workingFolder", &TaskDefinition::workingFolder},
    {"description", &TaskDefinition::description},
    {"author", &TaskDefinition::author},
    {"group", &TaskDefinition::group},
};

inline constexpr std::pair<char const*, bool TaskDefinition::*> taskFlags[] = {
    {"startsAtLogon", &TaskDefinition::startsAtLogon},
    {"highestRunLevel", &TaskDefinition::highestRunLevel},
    {"enabled", &TaskDefinition::enabled},
};

}  // namespace machine
