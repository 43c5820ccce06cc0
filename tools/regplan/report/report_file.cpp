#include "tools/regplan/report/report_file.hpp"

#include <stdexcept>
#include <system_error>

#include "machine/host/host_file.hpp"
#include "machine/printable.hpp"
#include "tools/regplan/report/page_parts.hpp"
#include "tools/regplan/report/report_json.hpp"
#include "tools/regplan/report/report_page.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;
using machine::HostFile;
using machine::host::OpenMode;

fs::path hostPath(std::string const& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

bool isPage(fs::path const& file) {
  return lowerCase(file.extension().string()) == ".html";
}

bool isJson(fs::path const& file) {
  return lowerCase(file.extension().string()) == ".json";
}

}  // namespace

ReportFile::ReportFile(std::string name) : name_(std::move(name)), file_(hostPath(name_)) {
  if (!isPage(file_) && !isJson(file_)) fail("must end in .html or .json");
  std::error_code error;
  if (fs::is_directory(file_, error)) fail("is a folder");
  fs::path temporary = file_;
  temporary += ".tmp";
  try {
    // Whoever may write to the folder could have put a link there: what is there is removed, and
    // made anew or not at all.
    machine::host::removeFile(temporary);
    HostFile made(temporary, OpenMode::createNew);
    made.close();
  } catch (machine::UntrustedPath const& failure) {
    fail(std::string("cannot be written: ") + machine::printable(failure.what()));
  } catch (std::system_error const& failure) {
    fail("cannot be written: " + failure.code().message());
  }
  temporary_ = temporary;
}

ReportFile::~ReportFile() {
  try {
    if (!temporary_.empty()) machine::host::removeFile(temporary_);
  } catch (std::runtime_error const&) {
    // Others have exchanged its folder: what lies there now is not this report's.
  }
}

void ReportFile::write(RunReport const& report) {
  std::string const content = isPage(file_) ? reportPage(report) : reportJson(report);
  try {
    machine::host::removeFile(temporary_);
    HostFile made(temporary_, OpenMode::createNew);
    made.write(content);
    made.flush();
    made.close();
    machine::renameHostFile(temporary_, file_);
    temporary_.clear();
  } catch (machine::UntrustedPath const& failure) {
    fail(std::string("could not be written: ") + machine::printable(failure.what()));
  } catch (std::system_error const& failure) {
    fail("could not be written: " + failure.code().message());
  }
}

void ReportFile::fail(std::string_view reason) const {
  throw std::runtime_error("--report: " + machine::printable(name_) + " " + std::string(reason));
}

}  // namespace regplan
