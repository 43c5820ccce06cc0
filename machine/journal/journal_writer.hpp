#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>

#include "machine/change.hpp"

namespace machine::journal {

/// Writes a journal of a machine's changes, from which restore takes them back: before each change
/// how the item was, after it how it is now. What was written is on the disk before the change
/// begins, so that the journal is whole up to there however the process ends; see journal_file.hpp
/// for its format, and for who may read it.
///
/// When the journal cannot be written any more, or an item's state not be read, the operation that
/// was to come does not happen: std::system_error (its code is the host's) or SystemError comes out
/// of it. After a failure to write, no more operations happen.
class REGISTRATION_API JournalWriter final : public ChangeObserver {
 public:
  /// Files up to this size, in bytes, are kept in the journal itself.
  static constexpr std::size_t longestInline = 4096;

  /// Makes the journal `file`, and the folder FILE.files beside it for longer contents. A file or
  /// link of either name is an error (std::system_error): journals are never written over; so is a
  /// folder where others could exchange them (UntrustedPath). Reads
  /// states from `machine`, the one that the WatchedMachine watches; it must outlive this object.
  /// `plan` is for the reader's information.
  JournalWriter(std::filesystem::path const& file, Machine& machine, std::string_view plan);
  /// Has the last records put on the disk; a failure goes unnoticed.
  ~JournalWriter() override;
  JournalWriter(JournalWriter const&) = delete;
  JournalWriter& operator=(JournalWriter const&) = delete;

  void aboutToChange(Item const& item) override;
  void allAnnounced() override;
  void changed(Item const& item) override;
  void aboutToHandOver(HandOver const& handOver) override;

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace machine::journal
