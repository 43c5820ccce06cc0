// com_server.dll: an in-process COM server with one class, whose objects tell their class
// identifier (IPersist). Registers itself below HKEY_CLASSES_ROOT\CLSID.
#include <windows.h>

#include <objidl.h>
#include <olectl.h>

#include "record.hpp"

namespace {

constexpr CLSID classId = {
    0x5b0f6c1e, 0x7d3a, 0x4e52, {0x9a, 0x1b, 0x36, 0xc4, 0xd2, 0x7f, 0x08, 0xe1}};
constexpr wchar_t classKey[] = L"CLSID\\{5B0F6C1E-7D3A-4E52-9A1B-36C4D27F08E1}";
constexpr wchar_t serverKey[] = L"CLSID\\{5B0F6C1E-7D3A-4E52-9A1B-36C4D27F08E1}\\InprocServer32";

HMODULE self = nullptr;

/// Objects that live as long as the module, which is never unloaded before the process ends.
template <class Interface>
class Permanent : public Interface {
 public:
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** result) override {
    bool const has = wanted == IID_IUnknown || wanted == __uuidof(Interface);
    *result = has ? static_cast<Interface*>(this) : nullptr;
    return has ? S_OK : E_NOINTERFACE;
  }

 protected:
  ~Permanent() = default;
};

class Sample final : public Permanent<IPersist> {
 public:
  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override {
    *id = classId;
    return S_OK;
  }
};

class Factory final : public Permanent<IClassFactory> {
 public:
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID wanted, void** result) override {
    *result = nullptr;
    return outer == nullptr ? sample_.QueryInterface(wanted, result) : CLASS_E_NOAGGREGATION;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  Sample sample_;
};

Factory factory;

bool setText(wchar_t const* key, wchar_t const* name, std::wstring const& text) {
  auto const bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetKeyValueW(HKEY_CLASSES_ROOT, key, name, REG_SZ, text.c_str(), bytes) ==
         ERROR_SUCCESS;
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) {
    self = module;
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID id, REFIID wanted, void** result) {
  *result = nullptr;
  return id == classId ? factory.QueryInterface(wanted, result) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
  return S_FALSE;
}

STDAPI DllRegisterServer() {
  bool const registered = setText(classKey, nullptr, L"Vortan sample class") &&
                          setText(serverKey, nullptr, sample::fileOf(self)) &&
                          setText(serverKey, L"ThreadingModel", L"Both");
  return registered ? S_OK : SELFREG_E_CLASS;
}

STDAPI DllUnregisterServer() {
  LSTATUS const status = RegDeleteTreeW(HKEY_CLASSES_ROOT, classKey);
  return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND ? S_OK : SELFREG_E_CLASS;
}
