#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "machine/host/host_file.hpp"
#include "machine/journal/damage.hpp"

/// The file of a journal, on the host that the program runs on, also when the machine worked on is
/// a simulated one. Text in UTF-8, one record a line, each line a JSON value (RFC 8259):
///
///   {"length":LENGTH,"sha256":"HASH","record":RECORD}
///
/// LENGTH is the number of RECORD's bytes, HASH the SHA-256 of the previous line's HASH (nothing in
/// the first line) and RECORD, so that a line that is torn, changed, left out or in another place
/// is found. The members stand in this order, without blanks. The records:
///
///   {"format":"registration-journal","version":2,"created":"2026-11-21T08:30:00.123Z","plan":NAME,
///    "computer":{"name":NAME,"id":NAME},"account":{"name":NAME,"id":NAME}}
///       the first, and only the first. The identifiers are the system's MachineGuid and the
///       account's security identifier; what the machine does not tell is empty.
///   {"about":ITEM,"before":STATE}
///       The item is about to be changed for the first time; how it was. It is on the disk, and the
///       content it needs too, before the change begins.
///   {"again":ITEM}
///       The item is about to be changed once more; on the disk before it is.
///   {"changed":ITEM,"after":STATE}
///       The change has ended; how the item is now. Without "after" when that could not be found
///       out.
///   {"handOver":{"kind":"program","what":"C:\\x\\tool.exe","arguments":"-a"}}
///       The word goes to code of others ("program", "shellProgram", "module", "bundles"): what it
///       does is not in the journal.
///
/// ITEM: {"kind":KIND,"where":NAME}, of a registry value also "value"; kinds: "file", "folder",
/// "shortcut", "key", "value", "variable", "task", "taskFolder", "service". Paths are absolute and
/// worked out, see path_grammar::absolute. A NAME is a string, or, when it is no well-formed
/// UTF-16,
/// {"utf16":"hexadecimal, little endian"}. STATE, of the item's kind, bytes in hexadecimal:
///
///   {"is":"nothing"}, {"is":"there"}           a folder, key or task folder
///   {"is":"file","size":3,"sha256":"...","hex":"616263","readOnly":true,"hidden":true,
///    "system":true,"created":134080362001230000,"written":134080362001230000}
///       "hex" in a "before" when the file is short; a longer one's content is the file
///       JOURNAL.files/SHA256, stored once. Attributes that are not set and times that are not
///       known are left out; times as machine::FileTime counts them.
///   {"is":"link","size":3,"sha256":"...","target":NAME,"directory":false,"junction":false}
///       A link; size and hash of what it leads to, an empty hash when it leads nowhere. The last
///       three are left out of a link that is neither a symbolic link nor a junction.
///   {"is":"value","type":1,"hex":"..."}        a registry value: winnt.h's type, its raw bytes
///   {"is":"variable","text":NAME}
///   {"is":"task","definition":{...},"document":NAME}     the scheduler's XML document
///   {"is":"service","definition":{...,"state":4}}        numbers as in winsvc.h
///
/// The file, the folder JOURNAL.files and what is in it may be opened by administrators, the system
/// and, where that is no administrator, the account that wrote it; on POSIX hosts by their owner.
namespace machine::journal {

using Record = nlohmann::ordered_json;

constexpr int formatVersion = 2;

/// The longest line that is written and read, against input without end.
constexpr std::size_t longestLine = std::size_t{64} << 20;

/// A new journal's lines. Failures are std::system_error with the host's error.
class LineWriter {
 public:
  /// An existing file is an error, and so is one that a link of that name leads to.
  explicit LineWriter(std::filesystem::path const& file)
      : file_(file, host::OpenMode::createPrivate) {}

  /// Hands the record to the host. Throws std::length_error for one that is too long.
  void append(Record const& record);
  /// Has the host put on the disk what was appended.
  void flush() { file_.flush(); }

 private:
  HostFile file_;
  std::string previousHash_;
};

/// Hands out the records of a journal in order, as far as it is whole; nullopt at its very end.
/// What `take` throws counts as damage of that record. `mode`: read or readTrusted. Throws
/// std::system_error when the file cannot be opened or read, UntrustedPath as `mode` says.
std::optional<Damage> readLines(std::filesystem::path const& file, host::OpenMode mode,
                                std::function<void(Record const&)> const& take);

/// Where a journal keeps the longer contents.
std::filesystem::path filesFolder(std::filesystem::path const& journal);

}  // namespace machine::journal
