#include "install/postinstall/shortcuts.hpp"

#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/native_shortcuts.hpp"
#include "fl/filesystem/operations.hpp"
#include "install/postinstall/special_folders.hpp"

namespace benchmarks {

namespace {

constexpr int shortcuts = 1'000;
constexpr wchar_t ourFolder[] = L"RegistrationBenchmark\\Ours";

void ourShortcuts() {
  for (int i = 0; i < shortcuts; ++i) {
    std::wstring const name = std::to_wstring(i) + L".lnk";
    install::postinstall::CreateStartMenuShortcut(
        L"C:\\Program Files\\Vortan\\bin\\win64\\vortan.exe", nullptr, name.c_str(), nullptr,
        ourFolder, L"-start", L"Starts Vortan", 0, 0, 0);
  }
}

fl::filesystem::Path programs() {
  std::wstring folder(install::postinstall::specialFolderBufferLength, L'\0');
  install::postinstall::GetSpecialFolderPath(L"startmenu", folder.data());
  return fl::i18n::to_ustring(folder.c_str());
}

}  // namespace

void createShortcuts() {
  fl::filesystem::Path const folder = programs() / u"RegistrationBenchmark";
  fl::filesystem::Path const bareFolder = folder / u"Bare";
  fl::filesystem::create_directories(bareFolder);
  printRatio("1,000 shortcuts: function / bare calls of the shell link object", "none", 3,
             ourShortcuts, [&] { nativeShortcuts(bareFolder, shortcuts); });
  fl::filesystem::remove_all(folder);
}

}  // namespace benchmarks
