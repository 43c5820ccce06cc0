#include <windows.h>

#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include <thread>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/windows/guarded_path.hpp"
#include "machine/windows/security.hpp"
#include "machine/windows/text.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/wine.hpp"

namespace machine::windows {
namespace {

using testing::HasSubstr;

class WindowsForeignAccess : public tests::MachineTest {
 protected:
  /// In the system's security descriptor language, "WD" being everybody.
  static void give(UString const& path, UString const& access) {
    auto const descriptor = descriptorFrom(access);
    BOOL isPresent = FALSE;
    BOOL isDefaulted = FALSE;
    PACL list = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(descriptor.get(), &isPresent, &list, &isDefaulted));
    UString name = path;
    ASSERT_EQ(SetNamedSecurityInfoW(wideBuffer(name), SE_FILE_OBJECT,
                                    DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, list, nullptr),
              DWORD{ERROR_SUCCESS});
  }
  static UString everybody() { return ownAccess(false) + u"(A;OICI;FA;;;WD)"; }
  template <class Error, class Call>
  static std::string errorOf(Call const& call) {
    try {
      call();
      return "(none)";
    } catch (Error const& error) {
      return error.what();
    }
  }
};

TEST_F(WindowsForeignAccess, NobodyElseHasAnyToWhatWasMadeInAFolderOfOnesOwn) {
  give(root(), ownAccess(false));
  writeFile(at(u"file"), "x");
  EXPECT_FALSE(files().foreignAccess(at(u"file")).any());
  EXPECT_FALSE(files().openForReading(at(u"file"))->foreignAccess().any());
  EXPECT_FALSE(files().foreignAccess(root()).any());
}

TEST_F(WindowsForeignAccess, WhoMayReadMayNotWrite) {
  writeFile(at(u"file"), "x");
  give(at(u"file"), ownAccess(true));
  EXPECT_FALSE(files().foreignAccess(at(u"file")).any());
}

TEST_F(WindowsForeignAccess, IsSeenInTheAccessListOfTheOpenFile) {
  writeFile(at(u"file"), "x");
  give(at(u"file"), everybody());
  EXPECT_TRUE(files().foreignAccess(at(u"file")).mayWrite);
  EXPECT_TRUE(files().openForReading(at(u"file"))->foreignAccess().mayWrite);
  auto const file = toHostName(at(u"file"));
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(file, host::OpenMode::readTrusted); }),
              HasSubstr("by others"));
}

TEST_F(WindowsForeignAccess, ToTheFolderMakesItsFilesUntrusted) {
  writeFile(at(u"folder\\file"), "x");
  give(at(u"folder"), everybody());
  auto const inside = toHostName(at(u"folder\\file"));
  EXPECT_THAT(errorOf<UntrustedPath>([&] { HostFile(inside, host::OpenMode::readTrusted); }),
              HasSubstr("folder may be replaced by others"));
  EXPECT_THAT(errorOf<UntrustedPath>(
                  [&] { HostFile(toHostName(at(u"folder\\new")), host::OpenMode::createPrivate); }),
              HasSubstr("folder may be replaced by others"));
}

TEST_F(WindowsForeignAccess, AFolderIsClaimedFromThoseWhoCouldWriteIt) {
  give(root(), ownAccess(false));
  EXPECT_EQ(files().claimDirectory(at(u"claimed")), Claim::made);
  EXPECT_EQ(files().claimDirectory(at(u"claimed")), Claim::own);
  give(at(u"claimed"), everybody());
  EXPECT_EQ(files().claimDirectory(at(u"claimed")), Claim::takenOver);
  EXPECT_FALSE(files().foreignAccess(at(u"claimed")).any());
}

TEST_F(WindowsForeignAccess, AFolderMadeAmongOthersIsForReadingOnly) {
  give(root(), everybody());
  files().createDirectory(at(u"made"));
  EXPECT_FALSE(files().foreignAccess(at(u"made")).any());
}

TEST_F(WindowsForeignAccess, ALockFileIsTakenFromThoseWhoCouldHoldIt) {
  writeFile(at(u"lock"), "");
  give(at(u"lock"), everybody());
  auto const lock = files().lock(at(u"lock"), std::chrono::milliseconds(0));
  EXPECT_FALSE(files().foreignAccess(at(u"lock")).any());
}

/// As a program does that looks at every fresh file: open for a moment, shared with nobody.
class HeldFile : public WindowsForeignAccess {
 protected:
  void SetUp() override { writeFile(at(u"fresh"), "new"); }
  std::thread holding(DWORD milliseconds) {
    UniqueHandle file(orNull(CreateFileW(wide(at(u"fresh")), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, 0, nullptr)));
    EXPECT_TRUE(file);
    return std::thread([file = std::move(file), milliseconds]() mutable {
      Sleep(milliseconds);
      file.reset();
    });
  }
};

TEST_F(HeldFile, IsRenamedWhenItIsFree) {
  auto held = holding(200);
  files().rename(at(u"fresh"), at(u"moved"), false);
  held.join();
  EXPECT_EQ(readFile(at(u"moved")), "new");
}

TEST_F(HeldFile, IsReplacedWhenItIsFree) {
  writeFile(at(u"newer"), "newer");
  auto held = holding(200);
  files().rename(at(u"newer"), at(u"fresh"), true);
  held.join();
  EXPECT_EQ(readFile(at(u"fresh")), "newer");
}

TEST_F(HeldFile, IsRemovedWhenItIsFree) {
  auto held = holding(200);
  EXPECT_TRUE(files().removeFile(at(u"fresh")));
  held.join();
  EXPECT_FALSE(exists(at(u"fresh")));
}

TEST_F(HeldFile, IsNotWaitedForForEver) {
  auto held = holding(8000);
  EXPECT_THAT(errorOf<SystemError>([&] { files().removeFile(at(u"fresh")); }), HasSubstr("(32)"));
  held.join();
}

}  // namespace
}  // namespace machine::windows
