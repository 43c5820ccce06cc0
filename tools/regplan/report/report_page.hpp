#pragma once

#include <string>

#include "tools/regplan/report/run_report.hpp"

namespace regplan {

/// The report as one HTML page that needs nothing else, neither files nor a network, and that reads
/// without its script too. Nothing that a text says becomes HTML.
std::string reportPage(RunReport const& report);

}  // namespace regplan
