#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/fuzz.hpp"
#include "manifest.hpp"
#include "tests/support/temporary_folder.hpp"

namespace {

using cppmicroservices::Any;
using cppmicroservices::AnyMap;

/// Nothing but what headers can be, and no deeper than their reader goes.
void checkValue(Any const& value, int depth) {
  FUZZ_EXPECT(!value.Empty());
  FUZZ_EXPECT(depth <= 64);
  if (auto const* map = cppmicroservices::any_cast<AnyMap>(&value)) {
    for (auto const& [name, member] : *map) checkValue(member, depth + 1);
  } else if (auto const* list = cppmicroservices::any_cast<std::vector<Any>>(&value)) {
    for (auto const& element : *list) checkValue(element, depth + 1);
  }
}

void checkManifest(std::string const& text) {
  AnyMap headers;
  if (fuzz::isRead<std::exception>([&] { headers = cppmicroservices::parsedManifest(text); })) {
    for (auto const& [name, value] : headers) checkValue(value, 1);
  }
}

/// A DLL of these bytes: the manifest in it, if it is found, is some of them.
void checkModule(std::string_view bytes) {
  static tests::TemporaryFolder const folder;
  auto const file = folder.path() / "module.dll";
  std::ofstream(file, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  auto const manifest = cppmicroservices::embeddedManifest(file.string());
  if (!manifest) return;
  FUZZ_EXPECT(bytes.find(*manifest) != bytes.npos);
  checkManifest(*manifest);
}

}  // namespace

void fuzz::run(std::string_view input) {
  bool const isModule = input.starts_with("MZ") || input.starts_with("\x7F");
  isModule ? checkModule(input) : checkManifest(std::string(input));
}
