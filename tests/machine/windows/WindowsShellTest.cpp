#include <gmock/gmock.h>

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace {

using machine::KnownFolder;

TEST(WindowsShell, KnownFoldersAreAbsoluteAndDistinct) {
  std::vector<machine::UString> folders;
  for (auto const folder :
       {KnownFolder::desktop, KnownFolder::startMenu, KnownFolder::publicDesktop,
        KnownFolder::commonStartMenu, KnownFolder::programData, KnownFolder::system}) {
    auto const path = machine::current().shell().knownFolder(folder);
    EXPECT_TRUE(machine::path_grammar::isAbsolute(path));
    EXPECT_THAT(folders, testing::Not(testing::Contains(path)));
    folders.push_back(path);
  }
}

TEST(WindowsShell, TheSystemFolderHoldsTheSystemsLibraries) {
  auto const folder = machine::current().shell().knownFolder(KnownFolder::system);
  EXPECT_TRUE(machine::current().files().status(folder + u"\\kernel32.dll"));
}

}  // namespace
