#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include "machine/journal/journal_writer.hpp"
#include "machine/machine.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace {

using namespace machine;

/// Who may open a file, as the system's security descriptor language tells it.
std::wstring accessOf(std::filesystem::path const& path) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  std::wstring name = path.native();
  EXPECT_EQ(GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &list, nullptr, &descriptor),
            DWORD{ERROR_SUCCESS});
  LPWSTR text = nullptr;
  ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                       DACL_SECURITY_INFORMATION, &text, nullptr);
  std::wstring result = text ? text : L"";
  LocalFree(text);
  LocalFree(descriptor);
  return result;
}

TEST(WindowsJournal, OnlyAdministratorsAndTheSystemMayOpenIt) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "journal";
  auto const changed = fromWide((folder.path() / "changed").native());
  current().files().openForWriting(changed, WriteMode::createNew)->write(std::string(10000, 'x'));
  journal::JournalWriter writer(file, current(), "");
  watch::WatchedMachine watched(current(), {&writer});
  watched.files().removeFile(changed);
  auto const files = folder.path() / "journal.files";
  for (auto const& path : {file, files, std::filesystem::directory_iterator(files)->path()}) {
    auto const access = accessOf(path);
    EXPECT_NE(access.find(L";BA)"), access.npos) << path;
    EXPECT_NE(access.find(L";SY)"), access.npos) << path;
    auto count = std::count(access.begin(), access.end(), L'(');
    EXPECT_EQ(count, 2) << path;
  }
}

}  // namespace
