#pragma once

#include <string_view>

#include "machine/change.hpp"
#include "machine/journal/restore.hpp"
#include "tools/regplan/runner.hpp"

namespace regplan {

/// What one value of an enumeration is called.
struct Name {
  std::string_view key;    ///< by reports and events for programs
  std::string_view words;  ///< by what people read
};

Name nameOf(Outcome outcome);
Name nameOf(machine::journal::RestoreStep::Outcome outcome);
Name nameOf(machine::Item::Kind kind);
Name nameOf(machine::HandOver::Kind kind);
Name nameOf(machine::WindowState window);
Name nameOf(machine::ServiceStart start);
Name nameOf(machine::ServiceState state);
Name nameOf(machine::ServiceRecovery::Kind kind);

}  // namespace regplan
