#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "machine/api.hpp"
#include "machine/tasks.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// Whether XML 1.0 can carry the text: no control characters but tab, line feed and carriage
/// return, no U+FFFE and U+FFFF, no unpaired surrogate.
REGISTRATION_API bool isXmlText(std::u16string_view text);

/// The task as the scheduler takes it: Microsoft, "Task Scheduler Schema", version 1.2. The
/// application is told twice, as the action's command and as the registration's source: Wine keeps
/// no actions. Several users may run the task at a time, on batteries too and without a time limit.
/// REQUIRES: requireTask accepts the definition.
REGISTRATION_API UString taskXml(TaskDefinition const& definition);

/// Of a task's document, in UTF-16 units: schedulers keep a few thousand.
inline constexpr std::size_t largestTaskDocument = std::size_t{1} << 20;

/// What fits into a TaskDefinition of a task's document: the first program and what goes with it.
/// nullopt for a text that is no task or longer than largestTaskDocument. Reads what taskXml and
/// schedulers write; it does not check that a document is well-formed XML.
REGISTRATION_API std::optional<TaskDefinition> taskFromXml(std::u16string_view document);

/// The document with its task disabled. REQUIRES: taskFromXml reads it.
REGISTRATION_API UString disabledTaskXml(std::u16string_view document);

}  // namespace machine
