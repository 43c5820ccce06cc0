// add_vortan_records PROGRAMDATA DRIVE COUNT [kill]: records DRIVE:\0, DRIVE:\1, ... in the
// registry below the folder PROGRAMDATA. With "kill" the process ends itself when its first file is
// finished and about to be moved to its place. 0 when all are recorded.
#include <windows.h>

#include <cwchar>
#include <string>

#include "fl/i18n/ustring.hpp"
#include "tests/layers/vortanconnector/installationsregistry/sandboxed_registry.hpp"
#include "vortanconnector/installationsregistry/installations_registry.hpp"

namespace {

class KilledBeforeMove final : public machine::ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;
  void rename(std::u16string_view, std::u16string_view, bool) override {
    TerminateProcess(GetCurrentProcess(), 99);
  }
};

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 4) {
    return 2;
  }
  tests::SandboxedRegistry sandbox(machine::current(), fl::i18n::to_ustring(arguments[1]));
  KilledBeforeMove killed(sandbox.machine().files());
  tests::SubstitutedMachine machine(sandbox.machine());
  if (count > 4) {
    machine.replace(killed);
  }
  machine::ScopedMachine const scope(machine);
  machine::UString const drive = fl::i18n::to_ustring(arguments[2]) + u":\\";
  for (long i = 0; i < std::wcstol(arguments[3], nullptr, 10); ++i) {
    machine::UString const root = drive + fl::i18n::to_ustring(std::to_string(i));
    if (!vortanconnector::installationsregistry::addVortanRecord(root, u"")) {
      return 1;
    }
  }
  return 0;
}
