#include "bundles/desktopservicesetup/implementation/version_document.hpp"

#include "bundles/desktopservicesetup/implementation/service_host.hpp"
#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "machine/path_grammar.hpp"

namespace {

using namespace desktopservicesetup;

void checkDownload(Download const& download) {
  bool const isSecure = download.url.starts_with("https://");
  bool isLocal = false;
  for (std::string const host : {"localhost", "127.0.0.1", "[::1]"}) {
    auto const begin = "http://" + host;
    auto const next = download.url.starts_with(begin) ? download.url.substr(begin.size(), 1) : "x";
    isLocal = isLocal || next.empty() || next.find_first_of(":/?#") == 0;
  }
  FUZZ_EXPECT(isSecure || isLocal);
  FUZZ_EXPECT(fuzz::isPrintable(download.url));
  FUZZ_EXPECT(download.sha256.size() == 64);
  FUZZ_EXPECT(download.sha256.find_first_not_of("0123456789abcdef") == std::string::npos);
}

void checkServiceHost(ServiceHost const& host) {
  namespace grammar = machine::path_grammar;
  Path const folder(u"C:\\Program Files\\Host");
  auto const program = (folder / host.program).ustring();
  FUZZ_EXPECT(!grammar::isAbsolute(host.program.ustring()));
  FUZZ_EXPECT(grammar::absolute(program, u"C:\\").starts_with(folder.ustring() + u"\\"));
  FUZZ_EXPECT(serviceFor(host, folder).commandLine.find(u'\0') == fl::i18n::UString::npos);
}

}  // namespace

void fuzz::run(std::string_view input) {
  VersionDocument latest;
  if (isRead<std::runtime_error>([&] { latest = parseVersionDocument("latest", input); })) {
    FUZZ_EXPECT(isVersion(latest.serviceHostVersion));
    checkDownload(latest.installer);
    checkDownload(latest.package);
  }
  ServiceHost host;
  if (isRead<std::runtime_error>([&] { host = parseServiceHost("service.json", input); })) {
    checkServiceHost(host);
  }
}
