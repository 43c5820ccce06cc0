#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// A scheduled task: one program, started for the users of a group in their own sessions.
struct TaskDefinition {
  UString application;    ///< the program's path
  UString arguments;      ///< its command line without the program
  UString workingFolder;  ///< empty: the scheduler's choice
  UString description;
  UString author;
  bool startsAtLogon = true;        ///< of any user of the group
  bool highestRunLevel = true;      ///< with all rights its user has, not only the filtered ones
  UString group = u"S-1-5-32-545";  ///< SID of the group whose users it runs as: Users
  bool enabled = true;

  bool operator==(TaskDefinition const&) const = default;
};

/// The Task Scheduler. A task's name may begin with the folders it lies in: `Maker\Updater`. Names
/// are compared without regard to case. Operations throw SystemError for failures not given an
/// outcome here; its code is the Win32 code, else the scheduler's HRESULT.
class Tasks {
 public:
  virtual ~Tasks() = default;

  /// nullopt when there is no such task, or when the name cannot be a task's. Of a task with other
  /// triggers and actions than a TaskDefinition has, what fits into one: the first program.
  virtual std::optional<TaskDefinition> task(std::u16string_view name) = 0;
  /// Makes the task, with its folders, or puts it in the place of the one of that name; running
  /// instances of that one run on. See requireTask for what is refused.
  virtual void createOrReplace(std::u16string_view name, TaskDefinition const& definition) = 0;
  /// The task as the XML document that the scheduler keeps of it (Microsoft, "Task Scheduler
  /// Schema"), with all that a TaskDefinition has no place for. nullopt when there is no such task,
  /// or when the name cannot be a task's.
  virtual std::optional<UString> document(std::u16string_view name) = 0;
  /// Makes the task from such a document, with its folders, or puts it in the place of the one of
  /// that name. A name that cannot be a task's is refused (invalidParameter), and so is a document
  /// that is none, or one whose account would need a password.
  virtual void registerDocument(std::u16string_view name, std::u16string_view document) = 0;
  /// Disables the task, then ends its running instances, so that none starts in between. False when
  /// there is no such task. A task that cannot be disabled is an error.
  virtual bool stopAndDisable(std::u16string_view name) = 0;
  /// False when there is no such task. Running instances run on, and the task's folders stay.
  virtual bool remove(std::u16string_view name) = 0;
  /// Whether there is a task folder of this name, which is one as a task's.
  virtual bool folderExists(std::u16string_view name) = 0;
  /// False when there is no such folder. One with tasks or folders in it is refused
  /// (directoryNotEmpty).
  virtual bool removeFolder(std::u16string_view name) = 0;
};

/// Whether a name is a task's: one or more components with a backslash between them, each such as a
/// file may be named (tasks are files below the system's task folder): not "." or "..", no blank or
/// dot at its end, no control character, none of <>:"/|?*, well-formed UTF-16.
REGISTRATION_API bool isTaskName(std::u16string_view name);

/// The folders that a task of this name lies in, from above; none for what is no task's name.
REGISTRATION_API std::vector<UString> taskFolders(std::u16string_view name);

/// Whether a map by folded names has one below this folder's.
template <class Map>
bool hasNamesBelow(Map const& map, std::u16string_view folder) {
  auto const start = foldCase(folder) + u'\\';
  auto const next = map.lower_bound(start);
  return next != map.end() && next->first.starts_with(start);
}

/// What every provider asks before it makes a task, as its SystemError (invalidParameter): a task's
/// name, a program, and texts that XML can carry.
REGISTRATION_API void requireTask(std::u16string_view name, TaskDefinition const& definition);

}  // namespace machine
