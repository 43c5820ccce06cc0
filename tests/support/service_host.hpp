#pragma once

#include <string>

#include "machine/sha256.hpp"
#include "tests/support/fake_downloads.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/zip_file.hpp"
#if defined(_WIN32)
#include "tests/machine/windows/test_programs.hpp"
#endif

namespace tests {

/// A machine with an installation whose service-host packages were shipped, and with a web server
/// that can publish newer ones. The service that its setup makes is gone afterwards.
class ServiceHostTest : public MachineTest {
 protected:
  static constexpr char16_t const* service = u"BrantixServiceHost";

  ServiceHostTest() { substituted_.replace(downloads); }
  ~ServiceHostTest() override {
    machine().registry().removeValue(sourceKey, u"LatestVersionUrl");
    try {
      machine().services().stop(service, std::chrono::seconds(20));
    } catch (machine::SystemError const&) {
      // Most tests make no service.
    }
    machine().services().remove(service);
  }

  machine::UString currentRoot() const { return at(u"sys\\bxds\\win64"); }
  machine::UString in(std::u16string_view name) const {
    return machine::path_grammar::join(currentRoot(), name);
  }
  machine::UString temporary(std::u16string_view name) const {
    return machine::path_grammar::join(in(u"_tempinstaller_win64"), name);
  }

  /// A program that can run as the service.
  std::string program() {
#if defined(_WIN32)
    return readFile(testProgram(u"service_host.exe"));
#else
    return "a program";
#endif
  }
  std::string installerPackage() {
    return zipOf(
        {{"service.json",
          R"({"version": 1, "program": "bin/host.exe", "arguments": ["BrantixServiceHost"]})"}});
  }
  std::string hostPackage(std::string const& version) {
    return zipOf({{"version.txt", version + "\n", false}, {"bin/host.exe", program()}});
  }

  void ship(std::string const& version) {
    writeFile(in(u"zci.zip"), installerPackage());
    writeFile(in(u"packages\\win64\\brantixservicehost.zip"), hostPackage(version));
  }

  /// Publishes a version; `package` in place of a sound one of this version.
  void publish(std::string const& version, std::string package = {}) {
    if (package.empty()) package = hostPackage(version);
    downloads.files[u"https://host.example/i.zip"] = installerPackage();
    downloads.files[u"https://host.example/p.zip"] = package;
    announce(version, describe("https://host.example/i.zip", installerPackage()),
             describe("https://host.example/p.zip", package));
  }
  void announce(std::string const& version, std::string const& installer,
                std::string const& package) {
    downloads.files[u"https://host.example/latest.json"] =
        R"({"version": 1, "serviceHostVersion": ")" + version + R"(", "installer": )" + installer +
        R"(, "package": )" + package + "}";
    writeFile(in(u"service-host-source.json"),
              R"({"version": 1, "latestVersionUrl": "https://host.example/latest.json"})");
  }
  static std::string describe(std::string const& url, std::string const& content) {
    machine::Sha256 hash;
    hash.add(content);
    return R"({"url": ")" + url + R"(", "size": )" + std::to_string(content.size()) +
           R"(, "sha256": ")" + hash.finish() + R"("})";
  }

  std::optional<machine::ServiceState> serviceState() {
    return machine().services().state(service);
  }
  std::string installedVersion() {
    auto const file = in(u"servicehost\\version.txt");
    return exists(file) ? readFile(file) : "";
  }

  machine::RegistryKey const sourceKey{machine::RegistryRoot::localMachine,
                                       u"SOFTWARE\\Brantix\\Vortan\\ServiceHost"};
  FakeDownloads downloads;

 private:
  SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine substitution_{substituted_};
};

}  // namespace tests
