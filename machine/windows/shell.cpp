#include <windows.h>

#include <shlobj.h>

#include <stdexcept>

#include "machine/whole_file.hpp"
#include "machine/windows/com.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/shell_link.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

// Links are a few kilobytes; what is longer is none, and is not read to its end.
constexpr std::size_t largestLink = 1 << 20;

UString folderOf(KNOWNFOLDERID const& id, std::u16string_view name) {
  wchar_t* path = nullptr;
  HRESULT const result = SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, &path);
  UniqueTaskText const owner(path);
  requireSuccess(result, "find the known folder", name);
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

  void writeShortcut(std::u16string_view path, Shortcut const& shortcut) override {
    requireStorable(path, shortcut);
    replaceFile(*files_, path, toShellLink(shortcut, path));
  }

  std::optional<Shortcut> readShortcut(std::u16string_view path) override {
    auto const bytes = readFile(*files_, path, largestLink);
    return bytes ? std::optional(fromShellLink(*bytes, path)) : std::nullopt;
  }

  void announceAssociationsChanged() override {
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
  }

 private:
  std::unique_ptr<Files> files_ = makeFiles();
};

}  // namespace

std::unique_ptr<Shell> makeShell() {
  return std::make_unique<WindowsShell>();
}

}  // namespace machine::windows
