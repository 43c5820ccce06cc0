#include "benchmarks/native_shortcuts.hpp"

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <stdexcept>
#include <string>

namespace benchmarks {

namespace {

void require(HRESULT result) {
  if (FAILED(result)) {
    throw std::runtime_error("a call of the shell link object failed");
  }
}

void save(std::wstring const& file) {
  void* object = nullptr;
  require(
      CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &object));
  auto* const link = static_cast<IShellLinkW*>(object);
  require(link->SetPath(L"C:\\Program Files\\Vortan\\bin\\win64\\vortan.exe"));
  require(link->SetWorkingDirectory(L"C:\\Program Files\\Vortan\\bin\\win64"));
  require(link->SetArguments(L"-start"));
  require(link->SetDescription(L"Starts Vortan"));
  require(link->SetShowCmd(SW_SHOWNORMAL));
  require(link->QueryInterface(IID_IPersistFile, &object));
  auto* const storage = static_cast<IPersistFile*>(object);
  require(storage->Save(file.c_str(), TRUE));
  storage->Release();
  link->Release();
}

}  // namespace

void nativeShortcuts(fl::filesystem::Path const& folder, int count) {
  require(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
  for (int i = 0; i < count; ++i) {
    save(fl::i18n::to_wstring(folder.ustring()) + L"\\" + std::to_wstring(i) + L".lnk");
  }
  CoUninitialize();
}

}  // namespace benchmarks
