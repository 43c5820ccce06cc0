#include "machine/journal/journal.hpp"

#include <fstream>
#include <stdexcept>

#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "machine/journal/entry_rules.hpp"
#include "machine/journal/journal_file.hpp"
#include "machine/journal/record_json.hpp"
#include "machine/sha256.hpp"
#include "tests/support/temporary_folder.hpp"

namespace {

using namespace machine::journal;

std::filesystem::path const& folder() {
  static tests::TemporaryFolder const folder;
  return folder.path();
}

/// Each line as the record of a whole journal line: nobody guesses a hash.
std::string withHashes(std::string_view records) {
  std::string journal;
  std::string previous;
  while (!records.empty()) {
    auto const record = fuzz::takeLine(records);
    machine::Sha256 hash;
    hash.add(previous);
    hash.add(record);
    previous = hash.finish();
    journal += "{\"length\":" + std::to_string(record.size()) + ",\"sha256\":\"" + previous +
               "\",\"record\":" + std::string(record) + "}\n";
  }
  return journal;
}

Journal readBytes(std::string_view bytes) {
  auto const file = folder() / "hostile.journal";
  std::ofstream(file, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return readJournal(file);
}

/// What can be restored can be written, and says the same when it is read.
Journal writtenAndRead(Journal const& journal) {
  auto const file = folder() / "written.journal";
  std::filesystem::remove(file);
  LineWriter writer(file);
  Record header = {{"format", "registration-journal"},
                   {"version", formatVersion},
                   {"created", journal.created},
                   {"plan", journal.plan}};
  header.update(toJson(journal.origin));
  writer.append(header);
  for (Entry const& entry : journal.entries) {
    writer.append({{"about", toJson(entry.item)}, {"before", toJson(entry.before)}});
    if (entry.after) {
      writer.append({{"changed", toJson(entry.item)}, {"after", toJson(*entry.after)}});
    }
  }
  for (auto const& handOver : journal.handOvers) writer.append({{"handOver", toJson(handOver)}});
  return readJournal(file);
}

void checkEntry(Entry const& entry) {
  requireItem(entry.item);
  requireState(entry.item.kind, entry.before);
  if (entry.after) requireState(entry.item.kind, *entry.after);
}

bool sameEntry(Entry const& a, Entry const& b) {
  return a.item == b.item && a.before == b.before && a.after == b.after;
}

void checkJournal(Journal const& journal, std::size_t size) {
  for (Entry const& entry : journal.entries) checkEntry(entry);
  if (journal.damage) {
    FUZZ_EXPECT(journal.damage->byte <= size);
    FUZZ_EXPECT(!journal.damage->reason.empty());
    if (journal.damage->record == 0) return;
  }
  Journal const again = writtenAndRead(journal);
  FUZZ_EXPECT(!again.damage);
  FUZZ_EXPECT(again.created == journal.created && again.plan == journal.plan);
  FUZZ_EXPECT(again.origin == journal.origin);
  FUZZ_EXPECT(again.handOvers == journal.handOvers);
  FUZZ_EXPECT(std::equal(again.entries.begin(), again.entries.end(), journal.entries.begin(),
                         journal.entries.end(), sameEntry));
}

}  // namespace

/// A journal's bytes, or the records of one, a line each.
void fuzz::run(std::string_view input) {
  std::string const bytes =
      input.starts_with("{\"length\":") ? std::string(input) : withHashes(input);
  Journal journal;
  if (isRead<std::runtime_error>([&] { journal = readBytes(bytes); })) {
    checkJournal(journal, bytes.size());
  }
}
