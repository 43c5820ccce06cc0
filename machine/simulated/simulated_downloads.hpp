#pragma once

#include <filesystem>

#include "machine/downloads.hpp"

namespace machine::simulated {

/// Web servers kept in a host folder: "https://example.com:8443/a/b.zip" is the file
/// https/example.com_8443/a/b.zip. A server without a folder cannot be reached; a missing file, and
/// any name that a folder could not be asked for as it is, is status 404.
class SimulatedDownloads final : public Downloads {
 public:
  explicit SimulatedDownloads(std::filesystem::path folder) : folder_(std::move(folder)) {}

  std::uint32_t get(std::u16string_view url, DownloadLimits const& limits,
                    Sink const& sink) override;

 private:
  std::filesystem::path folder_;
};

}  // namespace machine::simulated
