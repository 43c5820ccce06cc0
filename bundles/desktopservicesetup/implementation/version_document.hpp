#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "fl/filesystem/path.hpp"
#include "machine/downloads.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// A file to be downloaded, and what it must turn out to be.
struct Download {
  std::string url;
  std::uint64_t size = 0;
  std::string sha256;  ///< 64 lower-case hexadecimal digits
};

/// What a server publishes about the latest service host:
///
///   {
///     "version": 1,
///     "serviceHostVersion": "25.2.0.1",
///     "installer": { "url": "https://...", "size": 1234, "sha256": "0123...cdef" },
///     "package": { "url": "https://...", "size": 123456, "sha256": "4567...89ab" }
///   }
///
/// "version" is the format's. Files come from https servers only, or by http from this computer.
struct VersionDocument {
  std::string serviceHostVersion;
  Download installer;
  Download package;
};

/// Throws std::runtime_error for a text that is not such a document. `name`: where it comes from,
/// for that error.
VersionDocument parseVersionDocument(std::string const& name, std::string_view text);

/// The document as it is published now. Its address is the registry value LatestVersionUrl
/// of HKEY_LOCAL_MACHINE\SOFTWARE\Brantix\Vortan\ServiceHost, else the one in the file
/// service-host-source.json in the installation's current root: {"version": 1, "latestVersionUrl":
/// "https://..."}. Throws std::runtime_error when there is no address or no document at it. Of
/// `limits` the size is this function's own.
VersionDocument fetchVersionDocument(Path const& installationRoot,
                                     machine::DownloadLimits const& limits);

/// Throws std::runtime_error for another status than 200 of a server's answer.
void requireFound(std::uint32_t status, std::string const& url);

/// Digits and dots, such as "25.2.0.1".
bool isVersion(std::string_view text);

/// Whether files may come from there: "https://...", or "http://" and this computer itself, of
/// ASCII without a user's name.
bool isTrustedUrl(std::string_view url);

}  // namespace desktopservicesetup
