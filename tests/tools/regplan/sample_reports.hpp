#pragma once

#include "tools/regplan/report/run_report.hpp"

/// Made-up reports that have everything a report can have.
namespace regplan::samples {

/// A run of which one command failed, one reported problems and two handed over.
RunReport failingRun();

/// A run whose every text tries to be more than text: elements, scripts, quotes, control
/// characters, overrides of the writing direction, unpaired surrogates, very long names.
RunReport hostileRun();

/// A restore with every outcome.
RunReport restore();

/// A preview in which nothing failed.
RunReport preview();

}  // namespace regplan::samples
