#include "machine/simulated/simulated_downloads.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <system_error>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"

namespace machine::simulated {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t found = 200;
constexpr std::uint32_t notFound = 404;
constexpr std::uint32_t unrecognizedScheme = 12006;  // ERROR_WINHTTP_UNRECOGNIZED_SCHEME
constexpr std::uint32_t nameNotResolved = 12007;     // ERROR_WINHTTP_NAME_NOT_RESOLVED

struct Address {
  std::string scheme;
  std::string server;  ///< as the folder is called
  std::string file;    ///< what follows the server's name, without the first slash
};

std::optional<Address> parse(std::string_view url) {
  for (std::string_view const scheme : {"https", "http"}) {
    auto const prefix = std::string(scheme) + "://";
    if (!url.starts_with(prefix)) continue;
    auto const rest = url.substr(prefix.size());
    auto const slash = std::min(rest.find('/'), rest.size());
    Address address{std::string(scheme), std::string(rest.substr(0, slash)),
                    std::string(rest.substr(std::min(slash + 1, rest.size())))};
    std::replace(address.server.begin(), address.server.end(), ':', '_');
    return address;
  }
  return std::nullopt;
}

bool isPlainName(std::string_view name) {
  return !name.empty() && !name.starts_with('.') &&
         std::all_of(name.begin(), name.end(), [](unsigned char unit) {
           return (unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'z') ||
                  (unit >= 'A' && unit <= 'Z') || unit == '.' || unit == '-' || unit == '_';
         });
}

bool isPlainPath(std::string_view path) {
  for (auto slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
    if (!isPlainName(path.substr(0, slash))) return false;
    path.remove_prefix(slash + 1);
  }
  return isPlainName(path);
}

void pass(fs::path const& file, std::u16string_view url, std::uint64_t limit,
          Downloads::Sink const& sink) {
  HostFile source(file, host::OpenMode::read);
  std::array<char, 1 << 16> buffer;
  std::uint64_t size = 0;
  while (auto const count = source.read(buffer)) {
    size += count;
    if (size > limit) throw SystemError("download", url, ErrorCode::fileTooLarge);
    sink({buffer.data(), count});
  }
}

}  // namespace

std::uint32_t SimulatedDownloads::get(std::u16string_view url, DownloadLimits const& limits,
                                      Sink const& sink) {
  auto const address = parse(toUtf8(url));
  if (!address)
    throw SystemError("download", url, unrecognizedScheme,
                      "The URL does not use a recognized protocol");
  auto const server = folder_ / address->scheme / address->server;
  std::error_code error;
  if (!isPlainName(address->server) || !fs::is_directory(server, error))
    throw SystemError("download", url, nameNotResolved,
                      "The server name or address could not be resolved");
  auto const file = server / address->file;
  if (!isPlainPath(address->file) || !fs::is_regular_file(file, error)) return notFound;
  try {
    pass(file, url, limits.size, sink);
  } catch (std::system_error const& failure) {
    throw SystemError("download", url, fromHost(failure.code()));
  }
  return found;
}

}  // namespace machine::simulated
