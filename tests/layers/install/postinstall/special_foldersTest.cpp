#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/postinstall/special_folders.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

class FixedShell : public machine::ForwardingShell {
 public:
  using ForwardingShell::ForwardingShell;
  machine::UString knownFolder(machine::KnownFolder) override { return path; }
  machine::UString path;
};

class SpecialFolderPath : public tests::MachineTest {
 protected:
  std::wstring filled(wchar_t const* folderId) {
    GetSpecialFolderPath(folderId, buffer.data());
    return buffer.data();
  }

  std::vector<wchar_t> buffer = std::vector<wchar_t>(specialFolderBufferLength, L'#');
};

TEST_F(SpecialFolderPath, KnowsDesktopAndStartMenu) {
  auto& shell = machine().shell();
  EXPECT_EQ(machine::fromWide(filled(L"desktop")),
            shell.knownFolder(machine::KnownFolder::desktop));
  EXPECT_EQ(machine::fromWide(filled(L"startmenu")),
            shell.knownFolder(machine::KnownFolder::startMenu));
}

TEST_F(SpecialFolderPath, RefusesAnyOtherIdentifier) {
  for (wchar_t const* folderId : {L"", L"Desktop", L"desktop ", L"programs"}) {
    EXPECT_THROW(filled(folderId), std::invalid_argument);
  }
  EXPECT_THROW(filled(nullptr), std::invalid_argument);
  EXPECT_THROW(GetSpecialFolderPath(L"desktop", nullptr), std::invalid_argument);
  EXPECT_EQ(buffer.front(), L'#');
}

TEST_F(SpecialFolderPath, FillsTheBufferAndNeverMore) {
  FixedShell shell(machine().shell());
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(shell);
  machine::ScopedMachine const scope(substituted);
  shell.path = machine::UString(specialFolderBufferLength - 1, u'x');
  EXPECT_EQ(filled(L"desktop").size(), specialFolderBufferLength - 1);
  shell.path += u'x';
  buffer.assign(buffer.size(), L'#');
  EXPECT_THROW(filled(L"desktop"), machine::SystemError);
  EXPECT_EQ(buffer.front(), L'#');
}

TEST_F(SpecialFolderPath, ThrowsWhenTheSystemDoesNotKnowTheFolder) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1, machine::ErrorCode::fileNotFound);
  EXPECT_THROW(filled(L"startmenu"), machine::SystemError);
  EXPECT_EQ(buffer.front(), L'#');
}

}  // namespace
}  // namespace install::postinstall
