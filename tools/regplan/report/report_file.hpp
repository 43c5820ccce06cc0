#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tools/regplan/report/run_report.hpp"

namespace regplan {

/// A file of this host that a report goes to. What is there stays until the report is whole: it is
/// written under another name and moved into place.
class ReportFile {
 public:
  /// `name` is UTF-8 and ends in .html or .json. Throws std::runtime_error when it does not, or
  /// when no file can be made there, so that this is known before anything is done.
  explicit ReportFile(std::string name);
  /// Leaves nothing behind where write() was not called.
  ~ReportFile();
  ReportFile(ReportFile const&) = delete;
  ReportFile& operator=(ReportFile const&) = delete;

  /// Throws std::runtime_error, its text fit for a message, when it fails.
  void write(RunReport const& report);

 private:
  [[noreturn]] void fail(std::string_view reason) const;

  std::string name_;
  std::filesystem::path file_;
  std::filesystem::path temporary_;
};

}  // namespace regplan
