#include <windows.h>

#include <shlobj.h>

#include <stdexcept>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

UString folderOf(KNOWNFOLDERID const& id, std::u16string_view name) {
  wchar_t* path = nullptr;
  HRESULT const result = SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, &path);
  UniqueTaskText const owner(path);
  if (FAILED(result)) {
    bool const isSystemCode = HRESULT_FACILITY(result) == FACILITY_WIN32;
    throw systemError("find the known folder", name,
                      static_cast<DWORD>(isSystemCode ? HRESULT_CODE(result) : result));
  }
  return UString(unitsOf(path));
}

UString systemFolder() {
  UString folder =
      textFrom([](wchar_t* buffer, DWORD size) { return GetSystemDirectoryW(buffer, size); });
  if (folder.empty()) {
    throw systemError("find the system directory", u"");
  }
  return folder;
}

class WindowsShell final : public Shell {
 public:
  UString knownFolder(KnownFolder folder) override {
    switch (folder) {
      case KnownFolder::desktop:
        return folderOf(FOLDERID_Desktop, u"Desktop");
      case KnownFolder::startMenu:
        return folderOf(FOLDERID_Programs, u"Programs");
      case KnownFolder::publicDesktop:
        return folderOf(FOLDERID_PublicDesktop, u"PublicDesktop");
      case KnownFolder::commonStartMenu:
        return folderOf(FOLDERID_CommonPrograms, u"CommonPrograms");
      case KnownFolder::programData:
        return folderOf(FOLDERID_ProgramData, u"ProgramData");
      case KnownFolder::system:
        return systemFolder();
    }
    throw std::invalid_argument("unknown known folder");
  }
};

}  // namespace

std::unique_ptr<Shell> makeShell() {
  return std::make_unique<WindowsShell>();
}

}  // namespace machine::windows
