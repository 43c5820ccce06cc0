#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "machine/machine.hpp"

/// What steps change on a machine, in one vocabulary for a preview, a journal and a report.
namespace machine {

/// Something that a step can change, named so that it is found again.
struct Item {
  enum class Kind {
    file,           ///< also a link, described itself
    folder,         ///<
    shortcut,       ///< a file *.lnk that is written as a shortcut
    registryKey,    ///<
    registryValue,  ///<
    variable,       ///< of this process's environment
    task,           ///<
    taskFolder,     ///< of the task scheduler
    service,        ///<
  };

  Kind kind = Kind::file;
  /// An absolute path; a key with its root, "HKEY_LOCAL_MACHINE\SOFTWARE\..."; or the name of the
  /// variable, task, task folder or service. In the spelling of who changed it first.
  UString where;
  UString value;  ///< a registry value's name, empty for the default value; else empty

  bool operator==(Item const&) const = default;
};

/// A key or a value of it as an item, its path without empty names.
REGISTRATION_API Item itemOf(RegistryKey const& key);
REGISTRATION_API Item itemOf(RegistryKey const& key, std::u16string_view value);

/// The key of a registryKey or registryValue. Throws SystemError (badPathName) for any other item.
REGISTRATION_API RegistryKey keyOf(Item const& item);

/// Equal for the names of one and the same item: without regard to case. A path names one item,
/// whether a file, a folder or a shortcut is there.
REGISTRATION_API bool sameItem(Item const& a, Item const& b);

/// Equal for two items when sameItem holds, for use as a map's key.
REGISTRATION_API UString identityOf(Item const& item);

/// A file's content, told by size and SHA-256; `bytes` too while it is short enough to be shown. A
/// link to a file has the content that it leads to.
struct FileContent {
  std::uint64_t size = 0;
  std::string sha256;  ///< 64 lower-case hexadecimal digits; empty when the content cannot be read
  std::optional<std::string> bytes;
  bool isLink = false;

  bool operator==(FileContent const&) const = default;
};

/// A folder, key or task folder that exists.
struct Existing {
  bool operator==(Existing const&) const = default;
};

struct ServiceCondition {
  ServiceDefinition definition;
  ServiceState state = ServiceState::stopped;

  bool operator==(ServiceCondition const&) const = default;
};

/// How an item is at one moment; std::monostate: there is none.
using ItemState = std::variant<std::monostate, Existing, FileContent, Shortcut, RegistryValue,
                               UString, TaskDefinition, ServiceCondition>;

/// How the item is now: of a path what is there, whatever kind of item it was. File contents up to
/// `shownBytes` come with their bytes. Throws SystemError.
REGISTRATION_API ItemState stateOf(Machine& machine, Item const& item, std::size_t shownBytes);

/// The content of a file, read to its end; of an open one from where it is read next. Throws
/// SystemError.
REGISTRATION_API FileContent fileContent(FileReader& file, std::size_t shownBytes);
FileContent fileContent(Files& files, std::u16string_view path, std::size_t shownBytes);

/// One difference between two moments.
struct Change {
  Item item;
  ItemState before;
  ItemState after;

  bool operator==(Change const&) const = default;
};

/// A step gave the word to code of others: what that code does is in no preview and no journal.
struct HandOver {
  enum class Kind {
    program,       ///< a started process
    shellProgram,  ///< the shell was asked to open a program
    module,        ///< an entry point of a DLL
    bundles,       ///< bundles of the component framework, started from a folder
  };

  Kind kind = Kind::program;
  UString what;       ///< the program, the DLL, the folder
  UString arguments;  ///< the command line as a system would show it; the entry point; else empty

  bool operator==(HandOver const&) const = default;
};

/// Hears of a machine's changes, see WatchedMachine.
class ChangeObserver {
 public:
  virtual ~ChangeObserver() = default;
  /// Comes before each operation that may change the item; what it throws keeps the operation from
  /// happening.
  virtual void aboutToChange(Item const& item) = 0;
  /// Comes once all items of an operation were announced, right before it; what it throws keeps the
  /// operation from happening.
  virtual void allAnnounced() {}
  /// Comes after the operation announced for the item has ended, with success or with an exception.
  /// A file that is written to has ended when it is closed, so that others may be announced before.
  virtual void changed(Item const& item) = 0;
  /// Comes before the word is given.
  virtual void aboutToHandOver(HandOver const& handOver) = 0;
};

}  // namespace machine
