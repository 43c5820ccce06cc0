#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <vector>

#include "machine/overlay/overlay_machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tests/support/wine.hpp"

/// The same operations, picked at random from fixed seeds, on a machine and on an overlay over one
/// that was equal: whatever either answers, the other answers too.
namespace machine::overlay {

namespace {

constexpr int seeds = 60;
constexpr int operationsBefore = 60;  // on the inner machine, before there is an overlay
constexpr int operations = 200;

std::string contentOf(Files& files, UString const& path) {
  auto const reader = files.openForReading(path);
  std::string bytes;
  std::array<char, 5> part;
  while (auto const count = reader->read(part)) bytes.append(part.data(), count);
  return bytes;
}

/// Everything below a folder: names as spelled, in order, with what they are and hold.
void listTree(Files& files, UString const& folder, std::ostream& out) {
  auto const stream = files.openDirectory(folder);
  for (DirectoryEntry entry; stream->next(entry);) {
    auto const path = path_grammar::join(folder, entry.name);
    out << toUtf8(path) << (entry.isDirectory ? "\\" : "") << (entry.isLink ? "@" : "");
    auto const status = files.status(path);
    out << (status ? "" : " gone") << (status && status->isDirectory ? " folder " : " ")
        << (status ? status->size : 0);
    if (!entry.isDirectory) out << " " << contentOf(files, path);
    out << "\n";
    if (entry.isDirectory) listTree(files, path, out);
  }
}

void listKeys(Registry& registry, RegistryKey const& key, std::ostream& out) {
  out << toUtf8(key.path) << "\n";
  for (auto const& [name, value] : registry.values(key))
    out << "  " << toUtf8(name) << " " << static_cast<int>(value.type) << " "
        << toUtf8(value.text()) << "\n";
  for (auto const& name : registry.subkeys(key))
    listKeys(registry, {key.root, key.path + u"\\" + name}, out);
}

constexpr auto* top = u"C:\\likeness";
RegistryKey const topKey{RegistryRoot::localMachine, u"SOFTWARE\\Classes\\Likeness"};

/// A sequence of operations: equal for equal seeds.
class Sequence {
 public:
  explicit Sequence(unsigned seed) : random_(seed) {}

  /// The next operation, done on the machine; what it was and what it answered.
  std::string next(Machine& machine) {
    std::ostringstream answer;
    try {
      act(machine, answer);
    } catch (SystemError const& error) {
      answer << "error " << error.code();
    }
    return answer.str();
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
  bool oneIn(unsigned count) { return below(count) == 0; }

  UString name() {
    constexpr std::array names{u"a",     u"A",      u"b",      u"c.txt",
                               u"C.TXT", u"\u00e4", u"\u00c4", u"z.lnk"};
    return names[below(names.size())];
  }

  UString path() {
    if (oneIn(30)) return UString(top) + u"\\" + name() + u"?";
    UString path = oneIn(8) ? u"" : top;
    if (oneIn(10)) path = UString(u"\\\\?\\") + top;
    for (auto depth = 1 + below(3); depth > 0; --depth)
      path += (path.empty() ? u"" : u"\\") + name();
    if (oneIn(30) && !path_grammar::isVerbatim(path)) path += u"\\..\\" + name();
    return path;
  }

  RegistryKey key() {
    RegistryKey key = topKey;
    if (oneIn(3)) key = {RegistryRoot::classesRoot, u"Likeness"};
    for (auto depth = below(4); depth > 0; --depth) key.path += u"\\" + name();
    return key;
  }

  std::string bytes() { return std::string(below(12), static_cast<char>('a' + below(26))); }

  void act(Machine& machine, std::ostream& out) {
    if (oneIn(3))
      actOnRegistry(machine.registry(), out);
    else
      actOnFiles(machine, out);
  }

  void actOnFiles(Machine& machine, std::ostream& out) {
    auto& files = machine.files();
    auto const what = below(14);
    auto const where = path();
    out << "files " << what << " " << toUtf8(where) << ": ";
    switch (what) {
      case 0:
      case 1:
        return files.createDirectory(where);
      case 2:
      case 3:
      case 4:
        return write(*files.openForWriting(where, static_cast<WriteMode>(what - 2)));
      case 5:
        out << files.removeFile(where);
        return;
      case 6:
        out << files.removeDirectory(where);
        return;
      case 7:
      case 8:
      case 9: {
        auto const target = path();
        bool const replaceExisting = oneIn(2);
        out << toUtf8(target) << " " << replaceExisting << " ";
        if (tests::isWine() && hasSameName(where, target)) return;  // Wine keeps the old spelling
        return files.rename(where, target, replaceExisting);
      }
      case 10:
        return describe(files.status(where), out);
      case 11:
        out << contentOf(files, where);
        return;
      case 12:
        return list(files, where, out);
      default:
        return actOnOthers(machine, where, out);
    }
  }

  static bool hasSameName(UString const& a, UString const& b) {
    return equalIgnoringCase(path_grammar::fileName(a), path_grammar::fileName(b));
  }

  void actOnOthers(Machine& machine, UString const& where, std::ostream& out) {
    Shortcut shortcut;
    switch (below(4)) {
      case 0:
        out << machine.files().setCurrentDirectory(where)
            << toUtf8(machine.files().currentDirectory());
        return;
      case 1:
        shortcut.target = u"C:\\" + name();
        return machine.shell().writeShortcut(where, shortcut);
      case 2: {
        auto const read = machine.shell().readShortcut(where);
        out << (read ? toUtf8(read->target) : "none");
        return;
      }
      default:
        machine.files().lock(where, std::chrono::milliseconds(0));
    }
  }

  void write(FileWriter& writer) {
    writer.write(bytes());
    writer.write(bytes());
    writer.close();
  }

  static void describe(std::optional<FileStatus> const& status, std::ostream& out) {
    out << status.has_value();
    if (status)
      out << status->isDirectory << status->isLink << status->size << status->attributes.isReadOnly;
  }

  static void list(Files& files, UString const& where, std::ostream& out) {
    auto const stream = files.openDirectory(where);
    for (DirectoryEntry entry; stream->next(entry);)
      out << toUtf8(entry.name) << entry.isDirectory << entry.isLink << " ";
  }

  void actOnRegistry(Registry& registry, std::ostream& out) {
    auto const what = below(10);
    auto const where = key();
    auto const value = oneIn(5) ? UString() : name();
    out << "registry " << what << " " << toUtf8(where.path) << " " << toUtf8(value) << ": ";
    switch (what) {
      case 0:
        out << registry.createKey(where);
        return;
      case 1:
        out << registry.keyExists(where);
        return;
      case 2:
        out << registry.removeKey(where);
        return;
      case 3:
        out << registry.removeValue(where, value);
        return;
      case 4:
        for (auto const& subkey : registry.subkeys(where)) out << toUtf8(subkey) << " ";
        return;
      case 5:
        for (auto const& [found, data] : registry.values(where)) out << toUtf8(found) << " ";
        return;
      case 6: {
        auto const found = registry.value(where, value);
        out << (found ? toUtf8(found->text()) : "none");
        return;
      }
      case 7:
        return registry.setText(where, value, name());
      default:
        return registry.setValue(
            where, value,
            RegistryValue::ofText(
                name(), oneIn(2) ? RegistryType::string : RegistryType::expandableString));
    }
  }

  std::mt19937 random_;
};

std::string everything(Machine& machine) {
  std::ostringstream out;
  listTree(machine.files(), top, out);
  listKeys(machine.registry(), topKey, out);
  return out.str();
}

class OverlayLikeness : public ::testing::TestWithParam<int> {};

}  // namespace

TEST_P(OverlayLikeness, AnswersAsTheMachineItselfWould) {
  auto const seed = static_cast<unsigned>(GetParam());
  tests::TemporaryFolder directory;
  tests::TemporaryFolder innerDirectory;
  simulated::SimulatedMachine machine(directory.path());
  simulated::SimulatedMachine inner(innerDirectory.path());
  for (auto* one : {&machine, &inner}) {
    one->files().createDirectory(top);
    Sequence before(seed);
    for (int i = 0; i < operationsBefore; ++i) before.next(*one);
  }
  auto const innerBefore = everything(inner);
  ASSERT_EQ(innerBefore, everything(machine));

  OverlayMachine overlay(inner);
  Sequence onMachine(seed + seeds);
  Sequence onOverlay(seed + seeds);
  std::string history;
  for (int i = 0; i < operations; ++i) {
    auto const answer = onMachine.next(machine);
    history += answer + "\n";
    ASSERT_EQ(onOverlay.next(overlay), answer) << "after\n" << history;
  }
  EXPECT_EQ(everything(overlay), everything(machine)) << "after\n" << history;
  EXPECT_EQ(everything(inner), innerBefore);
}

INSTANTIATE_TEST_SUITE_P(Random, OverlayLikeness, ::testing::Range(0, seeds));

}  // namespace machine::overlay
