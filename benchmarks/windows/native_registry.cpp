#include "benchmarks/native_registry.hpp"

#include <windows.h>

#include <stdexcept>

namespace benchmarks {

void nativeSet(std::list<registration::commands::registryKey> const& records) {
  for (auto const& record : records) {
    HKEY key = nullptr;
    std::wstring const path = fl::i18n::to_wstring(record.keyPath);
    std::wstring const name = fl::i18n::to_wstring(record.valueName);
    std::wstring const value = fl::i18n::to_wstring(record.value);
    LONG const created = RegCreateKeyExW(record.root, path.c_str(), 0, nullptr, 0,
                                         KEY_WRITE | KEY_WOW64_64KEY, nullptr, &key, nullptr);
    if (created != ERROR_SUCCESS) {
      throw std::runtime_error("RegCreateKeyExW failed");
    }
    RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<BYTE const*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
  }
}

}  // namespace benchmarks
