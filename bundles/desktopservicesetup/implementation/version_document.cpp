#include "bundles/desktopservicesetup/implementation/version_document.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "bundles/desktopservicesetup/implementation/json_document.hpp"
#include "bundles/desktopservicesetup/implementation/text_files.hpp"
#include "install/desktopservicesetup/layout.hpp"
#include "machine/machine.hpp"

namespace desktopservicesetup {

namespace {

constexpr std::size_t largestDocument = 64 << 10;
constexpr std::uint64_t largestDownload = 0xFFFFFFFF;  // packages are no zip64 archives

bool isSha256(std::string_view text) {
  return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

Download readDownload(JsonDocument const& document, char const* name) {
  auto const& object = document.member(name);
  Download download{document.text(object, "url"), document.number(object, "size", largestDownload),
                    document.text(object, "sha256")};
  if (!isTrustedUrl(download.url)) {
    document.refuse("url");
  }
  if (!isSha256(download.sha256)) {
    document.refuse("sha256");
  }
  return download;
}

std::string configuredUrl(Path const& installationRoot) {
  auto const value = machine::current().registry().value(
      {machine::RegistryRoot::localMachine, u"SOFTWARE\\Brantix\\Vortan\\ServiceHost"},
      u"LatestVersionUrl");
  if (value) {
    return fl::i18n::ustring_to_utf8(value->text());
  }
  Path const file =
      install::desktopservicesetup::currentRoot(installationRoot) / u"service-host-source.json";
  return JsonDocument(fl::i18n::ustring_to_utf8(file.ustring()), readText(file, largestDocument))
      .text("latestVersionUrl");
}

}  // namespace

VersionDocument parseVersionDocument(std::string const& name, std::string_view text) {
  JsonDocument const document(name, text);
  VersionDocument latest{document.text("serviceHostVersion"), readDownload(document, "installer"),
                         readDownload(document, "package")};
  if (!isVersion(latest.serviceHostVersion)) {
    document.refuse("serviceHostVersion");
  }
  return latest;
}

VersionDocument fetchVersionDocument(Path const& installationRoot,
                                     machine::DownloadLimits const& limits) {
  std::string const url = configuredUrl(installationRoot);
  if (!isTrustedUrl(url)) {
    throw std::runtime_error("the version document's address is neither https nor this computer: " +
                             url);
  }
  auto documentLimits = limits;
  documentLimits.size = largestDocument;
  std::string text;
  std::uint32_t const status =
      machine::current().downloads().get(fl::i18n::utf8_to_ustring(url), documentLimits,
                                         [&](std::string_view bytes) { text += bytes; });
  requireFound(status, url);
  return parseVersionDocument(url, text);
}

void requireFound(std::uint32_t status, std::string const& url) {
  constexpr std::uint32_t found = 200;
  if (status == found) {
    return;
  }
  bool const isRedirection = status >= 300 && status < 400;
  throw std::runtime_error("the server answers with status " + std::to_string(status) +
                           (isRedirection ? ", a redirection that is not followed," : "") +
                           " for " + url);
}

bool isVersion(std::string_view text) {
  constexpr std::size_t longest = 64;
  return text.size() <= longest && text.find_first_not_of("0123456789.") == text.npos &&
         text.find_first_of("0123456789") != text.npos;
}

bool isTrustedUrl(std::string_view url) {
  auto const isPlain = [](char unit) {
    return unit > ' ' && unit < 0x7F &&
           std::string_view("\"<>\\^`{|}").find(unit) == std::string_view::npos;
  };
  constexpr std::string_view https = "https://";
  constexpr std::string_view http = "http://";
  bool const isSecure = url.starts_with(https);
  if (!std::all_of(url.begin(), url.end(), isPlain) || !(isSecure || url.starts_with(http))) {
    return false;
  }
  auto const rest = url.substr(isSecure ? https.size() : http.size());
  auto const authority = rest.substr(0, rest.find_first_of("/?#"));
  if (authority.empty() || authority.find('@') != authority.npos) {
    return false;
  }
  // An IPv6 address has colons of its own, and stands in brackets.
  auto const colon = authority.find(':', authority.front() == '[' ? authority.find(']') : 0);
  auto const host = authority.substr(0, colon);
  constexpr std::array<std::string_view, 3> thisComputer{"localhost", "127.0.0.1", "[::1]"};
  return isSecure ||
         std::find(thisComputer.begin(), thisComputer.end(), host) != thisComputer.end();
}

}  // namespace desktopservicesetup
