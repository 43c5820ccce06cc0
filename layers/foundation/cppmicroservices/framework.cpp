#include "foundation/cppmicroservices/framework.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/process_end.hpp"

namespace foundation::cppmicroservices {

using ::cppmicroservices::Bundle;
using ::cppmicroservices::Framework;
using fl::filesystem::Path;
using fl::i18n::UString;

namespace {

Framework startedFramework() {
  auto framework = ::cppmicroservices::FrameworkFactory().NewFramework();
  framework.Start();
  return framework;
}

/// Never destroyed: whoever holds a service at the process's end may still need it.
Framework& theFramework() {
  static Framework& framework = *new Framework(startedFramework());
  return framework;
}

void stopBundles() {
  try {
    auto bundles = theFramework().GetBundleContext().GetBundles();
    std::sort(bundles.begin(), bundles.end(),
              [](Bundle const& a, Bundle const& b) { return b < a; });
    // One by one rather than with the framework as a whole, which may need a thread for that: a
    // process that ends starts none any more.
    for (Bundle& bundle : bundles) {
      if (bundle.GetBundleId() != 0) {
        try {
          bundle.Stop(Bundle::STOP_TRANSIENT);
        } catch (std::exception const&) {
          // The others are stopped all the same.
        }
      }
    }
  } catch (std::exception const&) {
    // The framework is stopped already.
  }
}

bool isModule(machine::DirectoryEntry const& entry) {
  constexpr std::u16string_view extension = u".dll";
  return !entry.isDirectory && entry.name.size() > extension.size() &&
         machine::equalIgnoringCase(entry.name.substr(entry.name.size() - extension.size()),
                                    extension);
}

/// Full paths, in order.
std::vector<UString> modulesIn(UString const& folder) {
  std::vector<UString> modules;
  auto const names = machine::current().files().openDirectory(folder);
  for (machine::DirectoryEntry entry; names->next(entry);) {
    if (isModule(entry)) {
      modules.push_back(machine::path_grammar::join(folder, entry.name));
    }
  }
  std::sort(modules.begin(), modules.end());
  return modules;
}

/// The words of the framework for a file without a bundle in it.
bool saysNoBundle(std::string_view text) {
  return text.starts_with("Could not init zip archive for bundle at ") ||
         text.starts_with("Invalid zip archive layout for bundle at ");
}

void install(UString const& module, std::vector<Bundle>& bundles) {
  try {
    auto const installed =
        theFramework().GetBundleContext().InstallBundles(machine::toUtf8(module));
    bundles.insert(bundles.end(), installed.begin(), installed.end());
  } catch (std::runtime_error const& failure) {
    if (!saysNoBundle(failure.what())) {
      throw;
    }
  }
}

}  // namespace

std::vector<Bundle> installAndStart(Path const& folder) {
  install::cpputil::trouble::warn_of_relative_code(folder.ustring());
  auto& machine = machine::current();
  auto const absolute =
      machine::path_grammar::absolute(folder.ustring(), machine.files().currentDirectory());
  auto const modules = modulesIn(absolute);
  if (!machine.modules().admitBundles(absolute, modules)) {
    return {};
  }
  std::vector<Bundle> bundles;
  for (UString const& module : modules) {
    install(module, bundles);
  }
  for (Bundle& bundle : bundles) {
    bundle.Start();
    // Once more, so that it happens before this bundle's own static objects go.
    machine::atProcessEnd(stopBundles);
  }
  return bundles;
}

Framework getFramework() {
  [[maybe_unused]] static int const registered =
      (theFramework(), machine::atProcessEnd(stopBundles), 0);
  return theFramework();
}

}  // namespace foundation::cppmicroservices
