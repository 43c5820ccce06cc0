#pragma once

#include <string>

namespace regplan {

/// The JSON Schema (draft-07) of reports, indented.
std::string reportSchema();
/// The JSON Schema of one event: of a line that --json writes.
std::string eventSchema();

}  // namespace regplan
