#include "tools/regplan/plan_errors.hpp"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "machine/json/document.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

std::string systemReason(int error) {
  return error == 0 ? "unknown reason" : std::generic_category().message(error);
}

}  // namespace

void PlanErrors::add(std::string place, std::string reason) {
  if (errors_.size() == limit) {
    ++left_;
    return;
  }
  errors_.push_back({std::move(place), std::move(reason)});
}

std::vector<std::string> PlanErrors::lines(std::string_view file) const {
  using machine::json::errorLine;
  std::vector<std::string> lines;
  for (Error const& error : errors_) {
    lines.push_back(errorLine(file, error.place, error.reason));
  }
  if (left_ > 0) lines.push_back(errorLine(file, "", counted(left_, "more error")));
  return lines;
}

std::string readPlanFile(std::string const& file, PlanErrors& errors) {
  std::u8string const name(file.begin(), file.end());
  errno = 0;
  std::ifstream stream(std::filesystem::path(name), std::ios::binary);
  if (!stream) {
    errors.add("", "cannot be opened: " + systemReason(errno));
    return {};
  }
  std::string text(planSizeLimit + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (stream.bad() || (stream.fail() && !stream.eof())) {
    errors.add("", "cannot be read: " + systemReason(errno));
    return {};
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  if (text.size() > planSizeLimit) {
    errors.add("",
               "larger than " + std::to_string(planSizeLimit) + " bytes, the most a plan may be");
    return {};
  }
  return text;
}

}  // namespace regplan
