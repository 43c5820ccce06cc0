#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/regplan/report/run_report.hpp"

namespace regplan {

/// The version of the report's form, its member "report": it grows with a change that readers must
/// know of.
inline constexpr int reportVersion = 2;

/// The whole report as JSON in UTF-8, indented; see reportSchema. Ill-formed text is told with
/// U+FFFD.
std::string reportJson(RunReport const& report);

// The parts that the events of a run have as well.
nlohmann::ordered_json toJson(machine::Change const& change);
nlohmann::ordered_json toJson(machine::HandOver const& handOver);
nlohmann::ordered_json toJson(Message const& message);
nlohmann::ordered_json toJson(Trouble const& trouble);
/// "reason" and "decidedBy" of a command that has them, else an empty object.
nlohmann::ordered_json reasonJson(CommandResult const& result);
nlohmann::ordered_json toJson(RestoredItem const& item);
nlohmann::ordered_json requestJson(Request const& request);
nlohmann::ordered_json summaryJson(RunReport const& report);

/// Seconds to the millisecond.
double inSeconds(std::chrono::steady_clock::duration duration);
/// Text that may be ill-formed, as JSON takes it.
std::string wellFormed(std::string_view utf8);

}  // namespace regplan
