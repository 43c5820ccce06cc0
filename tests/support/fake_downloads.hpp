#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "machine/downloads.hpp"
#include "machine/error.hpp"

namespace tests {

/// Web servers in memory. What is not there is status 404.
class FakeDownloads final : public machine::Downloads {
 public:
  std::map<machine::UString, std::string> files;
  /// Called after half of the file has reached the sink.
  std::function<void(machine::UString const& url)> inTheMiddle = [](machine::UString const&) {};
  std::vector<machine::UString> asked;
  std::map<machine::UString, machine::DownloadLimits> limits;  ///< by what was asked for
  std::uint32_t missing = 404;                                 ///< the status of what is not there

  std::uint32_t get(std::u16string_view url, machine::DownloadLimits const& within,
                    Sink const& sink) override {
    asked.emplace_back(url);
    limits[machine::UString(url)] = within;
    auto const found = files.find(machine::UString(url));
    if (found == files.end()) return missing;
    std::string_view const content = found->second;
    auto const half = content.size() / 2;
    if (half > 0) sink(content.substr(0, half));
    inTheMiddle(found->first);
    if (content.size() > within.size)
      throw machine::SystemError("download", url, machine::ErrorCode::fileTooLarge);
    sink(content.substr(half));
    return 200;
  }
};

}  // namespace tests
