#include <windows.h>

#include <cstdlib>

#include "machine/journal/journal_writer.hpp"
#include "machine/path_grammar.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/support/faulty_machine.hpp"

namespace {

using namespace machine;

void write(Machine& machine, UString const& path, std::string_view bytes, WriteMode mode) {
  auto const writer = machine.files().openForWriting(path, mode);
  writer->write(bytes);
  writer->close();
}

/// What the test has made, see there, is changed in every way.
void changeMuch(Machine& machine, UString const& folder, UString const& name) {
  auto const in = [&](std::u16string_view file) { return path_grammar::join(folder, file); };
  auto& files = machine.files();
  write(machine, in(u"short"), "changed", WriteMode::append);
  write(machine, in(u"long.tmp"), std::string(9000, 'n'), WriteMode::createNew);
  files.rename(in(u"long.tmp"), in(u"long"), true);
  files.removeFile(in(u"read-only"));
  files.rename(in(u"sub"), in(u"moved"), false);
  files.createDirectory(in(u"new"));
  write(machine, in(u"new\\file"), "new", WriteMode::createNew);
  Shortcut shortcut;
  shortcut.target = u"C:\\windows\\system32\\cmd.exe";
  machine.shell().writeShortcut(in(u"new.lnk"), shortcut);
  files.removeFile(in(u"old.lnk"));
  RegistryKey const key{RegistryRoot::currentUser, u"Software\\RegistrationTests\\" + name};
  machine.registry().setText(key, u"expand", u"changed");
  machine.registry().setText({key.root, key.path + u"\\New\\New"}, u"", u"new");
  machine.registry().removeKey({key.root, key.path + u"\\Sub"});
  TaskDefinition task;
  task.application = u"C:\\windows\\system32\\cmd.exe";
  machine.tasks().stopAndDisable(name + u" old");
  machine.tasks().createOrReplace(name + u" new", task);
  machine.tasks().remove(name + u" old");
}

}  // namespace

/// change_until_stopped N JOURNAL FOLDER NAME: changes things under a journal and ends dead before
/// its N-th operation on the machine, those that read included; exit code 9. With fewer: 0.
int wmain(int count, wchar_t** arguments) {
  if (count != 5) return 2;
  auto const n = std::wcstoul(arguments[1], nullptr, 10);
  tests::FaultyMachine machine(current());
  unsigned long operations = 0;
  machine.faults().failWhen(
      [&](auto, auto) {
        if (++operations == n) TerminateProcess(GetCurrentProcess(), 9);
        return false;
      },
      ErrorCode::success);
  journal::JournalWriter writer(arguments[2], machine, "test");
  watch::WatchedMachine watched(machine, {&writer});
  changeMuch(watched, fromWide(arguments[3]), fromWide(arguments[4]));
  return 0;
}
