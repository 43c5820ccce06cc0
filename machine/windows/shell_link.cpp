#include "machine/windows/shell_link.hpp"

#include <windows.h>

#include <shlobj.h>

#include <cstring>

#include "machine/shell_link_format.hpp"
#include "machine/windows/com.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using shell_link::flagsOffset;
using shell_link::showCommandOffset;

// Not every shell sets the flags and gives back the show command through its object.
DWORD headerField(std::string_view link, std::size_t offset) {
  DWORD field;
  std::memcpy(&field, link.data() + offset, sizeof field);
  return field;
}

void addFlags(std::string& link, DWORD added) {
  DWORD const flags = headerField(link, flagsOffset) | added;
  std::memcpy(link.data() + flagsOffset, &flags, sizeof flags);
}

DWORD flagsFor(Shortcut const& shortcut) {
  return (shortcut.runAsAdministrator ? DWORD{SLDF_RUNAS_USER} : 0) |
         (shortcut.neverSearchForTarget ? DWORD{SLDF_FORCE_NO_LINKTRACK} : 0);
}

int toShowCommand(WindowState window) {
  switch (window) {
    case WindowState::maximized:
      return SW_SHOWMAXIMIZED;
    case WindowState::minimized:
      return SW_SHOWMINNOACTIVE;
    case WindowState::normal:
      break;
  }
  return SW_SHOWNORMAL;
}

WindowState fromShowCommand(DWORD command) {
  switch (command) {
    case SW_SHOWMAXIMIZED:
      return WindowState::maximized;
    case SW_SHOWMINNOACTIVE:
      return WindowState::minimized;
    default:
      return WindowState::normal;
  }
}

/// A ShellLink object, and what it is asked to do for the shortcut at `path`.
class ShellLink {
 public:
  ShellLink(std::string_view operation, std::u16string_view path)
      : operation_(operation), path_(path) {
    link_ = interfaceFrom<IShellLinkW>(operation_, path_, [](void** object) {
      return CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              object);
    });
    storage_ = interfaceFrom<IPersistStream>(operation_, path_, [this](void** object) {
      return link_->QueryInterface(IID_IPersistStream, object);
    });
  }

  void set(Shortcut const& shortcut) {
    require(link_->SetPath(wide(shortcut.target)));
    require(link_->SetArguments(wide(shortcut.arguments)));
    require(link_->SetWorkingDirectory(wide(shortcut.workingFolder)));
    require(link_->SetDescription(wide(shortcut.description)));
    require(link_->SetShowCmd(toShowCommand(shortcut.window)));
    if (!shortcut.iconFile.empty()) {
      require(link_->SetIconLocation(wide(shortcut.iconFile), shortcut.iconIndex));
    }
  }

  Shortcut get() const {
    Shortcut shortcut;
    shortcut.target = target();
    shortcut.arguments =
        text([this](wchar_t* buffer, int size) { return link_->GetArguments(buffer, size); });
    shortcut.workingFolder = text(
        [this](wchar_t* buffer, int size) { return link_->GetWorkingDirectory(buffer, size); });
    shortcut.description =
        text([this](wchar_t* buffer, int size) { return link_->GetDescription(buffer, size); });
    return shortcut;
  }

  void getIcon(Shortcut& shortcut) const {
    int index = 0;
    shortcut.iconFile = text([this, &index](wchar_t* buffer, int size) {
      return link_->GetIconLocation(buffer, size, &index);
    });
    shortcut.iconIndex = index;
  }

  void load(std::string_view bytes) {
    auto const stream = newStream();
    require(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    rewind(*stream);
    if (FAILED(storage_->Load(stream.get()))) {
      throw systemError(operation_, path_, ERROR_INVALID_DATA);
    }
  }

  std::string save() const {
    auto const stream = newStream();
    require(storage_->Save(stream.get(), TRUE));
    STATSTG status{};
    require(stream->Stat(&status, STATFLAG_NONAME));
    rewind(*stream);
    std::string bytes(status.cbSize.LowPart, '\0');
    require(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    return bytes;
  }

 private:
  void require(HRESULT result) const { requireSuccess(result, operation_, path_); }

  /// The item list is asked first: not every shell keeps the path beside it in Unicode.
  UString target() const {
    PIDLIST_ABSOLUTE list = nullptr;
    UString path(MAX_PATH, u'\0');
    bool const hasPath =
        link_->GetIDList(&list) == S_OK && SHGetPathFromIDListW(list, wideBuffer(path));
    CoTaskMemFree(list);
    return hasPath ? UString(path.c_str()) : text([this](wchar_t* buffer, int size) {
      return link_->GetPath(buffer, size, nullptr, SLGP_RAWPATH);
    });
  }

  UniqueCom<IStream> newStream() const {
    IStream* stream = nullptr;
    require(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    return UniqueCom<IStream>(stream);
  }

  void rewind(IStream& stream) const { require(stream.Seek({}, STREAM_SEEK_SET, nullptr)); }

  template <class Get>
  UString text(Get get) const {
    UString buffer(32768, u'\0');  // the longest text is that of the arguments
    require(get(wideBuffer(buffer), static_cast<int>(buffer.size())));
    return UString(buffer.c_str());
  }

  std::string_view operation_;
  std::u16string_view path_;
  UniqueCom<IShellLinkW> link_;
  UniqueCom<IPersistStream> storage_;
};

}  // namespace

std::string toShellLink(Shortcut const& shortcut, std::u16string_view path) {
  ComScope const com;
  ShellLink link("write the shortcut", path);
  link.set(shortcut);
  std::string bytes = link.save();
  addFlags(bytes, flagsFor(shortcut));
  return bytes;
}

Shortcut fromShellLink(std::string_view bytes, std::u16string_view path) {
  requireWholeShellLink(bytes, path);
  ComScope const com;
  ShellLink link("read the shortcut", path);
  link.load(bytes);
  Shortcut shortcut = link.get();
  shortcut.window = fromShowCommand(headerField(bytes, showCommandOffset));
  DWORD const flags = headerField(bytes, flagsOffset);
  // Without one of its own, a shell may tell the target's icon.
  if ((flags & SLDF_HAS_ICONLOCATION) != 0) {
    link.getIcon(shortcut);
  }
  shortcut.runAsAdministrator = (flags & SLDF_RUNAS_USER) != 0;
  shortcut.neverSearchForTarget = (flags & SLDF_FORCE_NO_LINKTRACK) != 0;
  return shortcut;
}

}  // namespace machine::windows
