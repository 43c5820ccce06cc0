#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "registration/commands/InstallDotNetAssemblyFiles.hpp"
#include "tests/registration/commands/windows/product_fixture.hpp"
#include "tests/support/restored_value.hpp"

namespace registration::commands {
namespace {

class InstallDotNetAssemblyFilesOnWindows : public tests::ProductTest {
 protected:
  std::vector<std::string> sortedLines(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line);
    }
    std::ranges::sort(lines);
    return lines;
  }
};

TEST_F(InstallDotNetAssemblyFilesOnWindows, TheProductsInstallerGetsEachAssembly) {
  tests::RestoredValue client(registry(),
                              {machine::RegistryRoot::localMachine,
                               u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Client"},
                              u"Install");
  client.set(machine::RegistryValue::ofDword(1));
  Path const folder = root() / u"toolbox\\zembric\\bin\\win64\\v4.0";
  Path const installer = copy(u"GACInstaller.exe", folder);
  std::vector<Path> const assemblies{root() / u"an assembly.dll", root() / u"\u65e5.dll"};
  std::vector<std::string> expected;
  for (Path const& assembly : assemblies) {
    writeFile(assembly, "x");
    expected.push_back(fl::i18n::to_string(assembly.ustring()));
  }
  std::ranges::sort(expected);

  tests::LogCapture log;
  InstallDotNetAssemblyFiles(tests::withRoot(root()), assemblies).execute();

  // Both runs go on by themselves: their lines come in either order.
  Path const record = folder / u"GACInstaller.txt";
  std::vector<std::string> lines;
  EXPECT_TRUE(tests::eventually([&] {
    lines = exists(record) ? sortedLines(readFile(record)) : lines;
    return lines.size() == 2;
  }));
  EXPECT_EQ(lines, expected);
  UString const run = u"[" + installer.ustring() + u" \"" + assemblies[0].ustring() + u"\"]";
  ASSERT_EQ(log.messages().size(), 4u);
  EXPECT_EQ(log.messages()[0], u"Running " + run);
  EXPECT_EQ(log.messages()[1], u"Successfully ran " + run);
}

}  // namespace
}  // namespace registration::commands
