#include "machine/modules.hpp"

#include <windows.h>

#include <stdexcept>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
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

UniqueModule load(std::u16string_view module) {
  NoErrorBoxes const quiet;
  return UniqueModule(hasNul(module) ? nullptr : LoadLibraryW(wide(UString(module))));
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
  ModuleCall callEntryPoint(std::u16string_view name, std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override {
    UniqueModule const module = load(name);
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
};

}  // namespace

std::unique_ptr<Modules> makeModules() {
  return std::make_unique<WindowsModules>();
}

}  // namespace machine::windows
