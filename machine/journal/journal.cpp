#include "machine/journal/journal.hpp"

#include <map>
#include <stdexcept>

#include "machine/journal/entry_rules.hpp"
#include "machine/journal/journal_file.hpp"
#include "machine/journal/record_json.hpp"

namespace machine::journal {

namespace {

class Reader {
 public:
  explicit Reader(Journal& journal) : journal_(journal) {}

  void take(Record const& record) {
    if (!hasHeader_) return takeHeader(record);
    if (record.contains("about")) {
      takeFirst(record);
    } else if (record.contains("again")) {
      entryOf(record.at("again")).after.reset();
    } else if (record.contains("changed")) {
      takeEnd(record);
    } else {
      journal_.handOvers.push_back(handOverFrom(record.at("handOver")));
    }
  }

  /// Empty when the file is a journal that this program reads.
  std::string const& refusal() const { return refusal_; }

 private:
  void takeHeader(Record const& record) {
    if (record.value("format", "") != "registration-journal") {
      refuse("the file is no journal");
    }
    if (record.at("version") != formatVersion) {
      refuse("version " + record.at("version").dump() +
             " of journals is not known; this program reads version " +
             std::to_string(formatVersion));
    }
    journal_.created = record.at("created").get<std::string>();
    journal_.plan = record.at("plan").get<std::string>();
    journal_.origin = originFrom(record);
    hasHeader_ = true;
  }

  [[noreturn]] void refuse(std::string reason) {
    refusal_ = std::move(reason);
    throw std::runtime_error(refusal_);
  }

  void takeFirst(Record const& record) {
    Entry entry{itemFrom(record.at("about")), imageFrom(record.at("before")), std::nullopt};
    requireItem(entry.item);
    requireState(entry.item.kind, entry.before);
    if (!places_.emplace(identityOf(entry.item), journal_.entries.size()).second) {
      throw std::runtime_error("an item begins twice");
    }
    journal_.entries.push_back(std::move(entry));
  }

  void takeEnd(Record const& record) {
    auto& entry = entryOf(record.at("changed"));
    entry.after.reset();
    if (!record.contains("after")) return;
    auto after = imageFrom(record.at("after"));
    requireState(entry.item.kind, after);
    entry.after = std::move(after);
  }

  Entry& entryOf(Record const& item) {
    return journal_.entries[places_.at(identityOf(itemFrom(item)))];
  }

  Journal& journal_;
  std::map<UString, std::size_t> places_;  ///< by identity
  std::string refusal_;
  bool hasHeader_ = false;
};

/// What is in it is opened as the journal is, when it is needed; that is half-way through.
void requireOwnFolder(std::filesystem::path const& files) {
  std::error_code error;
  if (!std::filesystem::exists(std::filesystem::symlink_status(files, error))) return;
  auto const access = host::foreignAccess(files);
  if (access.any()) {
    auto const name = files.u8string();
    throw UntrustedPath(std::string(name.begin(), name.end()) + " " + machine::weaknessOf(access));
  }
}

std::string weaknessOf(std::filesystem::path const& file) {
  try {
    HostFile const opened(file, host::OpenMode::readTrusted);
    requireOwnFolder(filesFolder(file));
    return {};
  } catch (UntrustedPath const& error) {
    return error.what();
  }
}

}  // namespace

Journal readJournal(std::filesystem::path const& file, JournalTrust trust) {
  Journal journal;
  journal.files = filesFolder(file);
  if (trust == JournalTrust::waived) journal.weakness = weaknessOf(file);
  Reader reader(journal);
  auto const mode = journal.weakness.empty() ? host::OpenMode::readTrusted : host::OpenMode::read;
  journal.damage = readLines(file, mode, [&](Record const& record) { reader.take(record); });
  if (journal.weakness.empty()) requireOwnFolder(journal.files);
  if (!reader.refusal().empty()) throw std::runtime_error(reader.refusal());
  return journal;
}

}  // namespace machine::journal
