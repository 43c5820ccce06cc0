#include "machine/journal/journal_writer.hpp"

#include <map>
#include <stdexcept>
#include <utility>

#include "machine/error.hpp"
#include "machine/journal/content_store.hpp"
#include "machine/journal/entry_rules.hpp"
#include "machine/journal/image.hpp"
#include "machine/journal/journal_file.hpp"
#include "machine/journal/record_json.hpp"

namespace machine::journal {

class JournalWriter::State {
 public:
  State(std::filesystem::path const& file, Machine& machine, std::string_view plan)
      : machine_(machine),
        origin_(originOf(machine)),  // before the file: without it there is none
        lines_(file),
        store_(madeStore(file)) {
    Record header{{"format", "registration-journal"},
                  {"version", formatVersion},
                  {"created", toIso8601(machine.clock().now())},
                  {"plan", toUtf8(toUtf16(plan))}};
    header.update(toJson(origin_));
    write(header);
    lines_.flush();
    host::flushFolder(std::filesystem::absolute(file).parent_path());
  }

  void aboutToChange(Item const& item) {
    requireWhole();
    auto const identity = identityOf(item);
    if (known_.contains(identity)) {
      write({{"again", toJson(item)}});
    } else {
      requireItem(item);
      auto const before = imageOf(machine_, item, [this](Files& files, std::u16string_view path) {
        return store_.keep(files, path);
      });
      requireState(item.kind, before);
      write({{"about", toJson(item)}, {"before", toJson(before)}});
    }
    ++known_[identity];
  }

  void changed(Item const& item) {
    auto const known = known_.find(identityOf(item));
    // An announcement that failed is taken back by this call, too.
    if (broken_ || known == known_.end() || known->second == 0) return;
    --known->second;
    Record record{{"changed", toJson(item)}};
    try {
      auto const after = imageOf(machine_, item);
      requireState(item.kind, after);
      record["after"] = toJson(after);
    } catch (std::runtime_error const&) {
      // The reader takes it for a change that may not have ended.
    }
    write(record);
  }

  void aboutToHandOver(HandOver const& handOver) {
    requireWhole();
    write({{"handOver", toJson(handOver)}});
    flush();
  }

  /// After a failure nothing tells what is on the disk.
  void flush() {
    bool const wasBroken = std::exchange(broken_, true);
    lines_.flush();
    broken_ = wasBroken;
  }

 private:
  /// With the journal, so that no run finds out half-way that it cannot keep a content.
  static ContentStore madeStore(std::filesystem::path const& file) {
    try {
      return ContentStore(filesFolder(std::filesystem::absolute(file)), longestInline);
    } catch (std::system_error const&) {
      host::removeFile(file);  // made just now, and empty
      throw;
    }
  }

  void requireWhole() const {
    if (broken_) throw std::runtime_error("the journal could not be written: no change without it");
  }

  void write(Record const& record) {
    broken_ = true;
    lines_.append(record);
    broken_ = false;
  }

  Machine& machine_;
  Origin origin_;
  LineWriter lines_;
  ContentStore store_;
  std::map<UString, int> known_;  ///< by identity: announcements that have not ended
  bool broken_ = false;           ///< a line may be there in part, or not on the disk
};

JournalWriter::JournalWriter(std::filesystem::path const& file, Machine& machine,
                             std::string_view plan)
    : state_(std::make_unique<State>(file, machine, plan)) {}

JournalWriter::~JournalWriter() {
  try {
    state_->flush();
  } catch (std::exception const&) {
    // Everything that a restore needs is on the disk already.
  }
}

void JournalWriter::aboutToChange(Item const& item) {
  state_->aboutToChange(item);
}

void JournalWriter::changed(Item const& item) {
  state_->changed(item);
}

void JournalWriter::allAnnounced() {
  state_->flush();
}

void JournalWriter::aboutToHandOver(HandOver const& handOver) {
  state_->aboutToHandOver(handOver);
}

}  // namespace machine::journal
