#include "machine/modules.hpp"

#include <windows.h>

#include <optional>
#include <stdexcept>

#include "machine/path_grammar.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using EntryPoint = void (*)(char const*, char const*, char const*);

/// Keeps the system from asking the user about a file that is no module.
class NoErrorBoxes {
 public:
  NoErrorBoxes() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &before_); }
  ~NoErrorBoxes() { SetThreadErrorMode(before_, nullptr); }
  NoErrorBoxes(NoErrorBoxes const&) = delete;
  NoErrorBoxes& operator=(NoErrorBoxes const&) = delete;

 private:
  DWORD before_ = 0;
};

/// A folder in which this process looks for DLLs, as long as it lives, where it looks in such
/// folders at all (SetDefaultDllDirectories).
class SearchedFolder {
 public:
  explicit SearchedFolder(UString const& folder) : cookie_(AddDllDirectory(wide(folder))) {}
  ~SearchedFolder() {
    if (cookie_ != nullptr) RemoveDllDirectory(cookie_);
  }
  SearchedFolder(SearchedFolder const&) = delete;
  SearchedFolder& operator=(SearchedFolder const&) = delete;

 private:
  DLL_DIRECTORY_COOKIE cookie_;
};

/// What tells a file from all others, however it is spelled.
struct FileIdentity {
  DWORD volume = 0;
  DWORD indexHigh = 0;
  DWORD indexLow = 0;

  bool operator==(FileIdentity const&) const = default;
};

/// nullopt when it cannot be told.
std::optional<FileIdentity> identityOf(std::u16string_view path) {
  constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  UniqueHandle const file(
      orNull(CreateFileW(wide(systemPath("callEntryPoint", path)), FILE_READ_ATTRIBUTES, everybody,
                         nullptr, OPEN_EXISTING, 0, nullptr)));
  BY_HANDLE_FILE_INFORMATION info;
  if (!file || !GetFileInformationByHandle(file.get(), &info)) return std::nullopt;
  return FileIdentity{info.dwVolumeSerialNumber, info.nFileIndexHigh, info.nFileIndexLow};
}

/// The module, which is that file; an empty owner when none was loaded.
UniqueModule required(HMODULE loaded, std::u16string_view file) {
  UniqueModule module(loaded);
  if (!module) return module;
  UString const found = textFrom(
      [&](wchar_t* buffer, DWORD size) { return GetModuleFileNameW(module.get(), buffer, size); });
  auto const wanted = identityOf(file);
  if (!wanted || identityOf(found) != wanted) throw OtherModule(file, found);
  return module;
}

UniqueModule load(std::u16string_view name, std::u16string_view file) {
  NoErrorBoxes const quiet;
  UString const module(name);
  if (hasNul(module)) return nullptr;
  // First without its initialisation, which would be code of whatever the search leads to.
  if (!required(LoadLibraryExW(wide(module), nullptr, DONT_RESOLVE_DLL_REFERENCES), file))
    return nullptr;
  return required(LoadLibraryW(wide(module)), file);
}

EntryPoint find(HMODULE module, std::string const& name) {
  bool const isName = !name.empty() && name.find('\0') == name.npos;
  FARPROC const address = isName ? GetProcAddress(module, name.c_str()) : nullptr;
  return reinterpret_cast<EntryPoint>(reinterpret_cast<void*>(address));
}

/// What the function throws lives in its module. It is over before this throws in its place.
void call(EntryPoint entryPoint, std::array<std::string, 3> const& arguments) {
  std::string failure;
  try {
    entryPoint(arguments[0].c_str(), arguments[1].c_str(), arguments[2].c_str());
    return;
  } catch (std::exception const& thrown) {
    failure = thrown.what();
  } catch (...) {
    failure = "the module's function threw something that is no standard exception";
  }
  throw std::runtime_error(failure);
}

class WindowsModules final : public Modules {
 public:
  ModuleCall callEntryPoint(std::u16string_view name, std::u16string_view file,
                            std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override {
    SearchedFolder const searched{UString(path_grammar::parent(file))};
    UniqueModule const module = load(name, file);
    if (!module) {
      return ModuleCall::notLoaded;
    }
    EntryPoint const function = find(module.get(), entryPoint);
    if (function == nullptr) {
      return ModuleCall::noEntryPoint;
    }
    call(function, arguments);
    return ModuleCall::called;
  }

  bool admitBundles(std::u16string_view, std::vector<UString> const&) override { return true; }
};

}  // namespace

std::unique_ptr<Modules> makeModules() {
  return std::make_unique<WindowsModules>();
}

}  // namespace machine::windows
