#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "install/cpputil/trouble.hpp"
#include "machine/change.hpp"
#include "machine/watch/change_recorder.hpp"
#include "tools/regplan/plan.hpp"

namespace regplan {

enum class Operation { execute, undo };

enum class Outcome {
  done,         ///< something was changed, or handed over, and no trouble told
  nothingToDo,  ///< nothing was changed or handed over, and no trouble told
  handsOver,    ///< in a preview: whether it ends well from its first hand-over on is not known
  doneWithProblems,  ///< ended normally, but trouble was told
  failed,            ///< an exception left the command
};

/// A log message, UTF-8 as it came.
struct Message {
  std::string text;
  bool isTrouble = false;  ///< tells of trouble

  bool operator==(Message const&) const = default;
};

/// What a command told beside the log, or as a line of it: UTF-8 as it came.
struct Trouble {
  using Severity = install::cpputil::trouble::severity;

  Severity severity = Severity::error;  ///< warning or error
  std::string text;
  std::string subject{};  ///< the file, registry key, program ... that it is about; may be empty
  bool isLogged = false;  ///< lines of the log tell of it

  bool operator==(Trouble const&) const = default;
};

/// What became of one command. Texts are UTF-8 as they came, not yet fit to print.
struct CommandResult {
  std::string name;
  Outcome outcome = Outcome::done;
  std::chrono::steady_clock::duration duration{};
  /// Of a failure the exception's text; of nothing to do why, where the command told.
  std::string reason{};
  std::string decidedBy{};  ///< of nothing to do: the option, or the file ..., that decided
  std::vector<Given> arguments{};
  std::vector<Message> messages{};
  std::vector<Trouble> troubles{};
  std::vector<machine::Change> changes{};
  std::vector<machine::HandOver> handOvers{};
};

/// Sees a run as it happens. Texts are UTF-8 as they came, not yet fit to print.
class RunObserver {
 public:
  virtual ~RunObserver() = default;
  /// `number` counts from 1 to `total`.
  virtual void started(std::size_t number, std::size_t total, std::string const& name) = 0;
  /// A log message of the command that runs.
  virtual void message(Message const& message) = 0;
  /// The command that runs tells of trouble; when it is logged, its messages follow.
  virtual void trouble(Trouble const& trouble) = 0;
  /// The command that runs gives the word to code of others.
  virtual void handingOver(machine::HandOver const& handOver) = 0;
  virtual void finished(CommandResult const& result) = 0;
};

/// Tells how long commands take: std::chrono::steady_clock::now but in tests.
using Now = std::function<std::chrono::steady_clock::time_point()>;

/// Seconds to the millisecond, "12.034 s".
std::string formatDuration(std::chrono::steady_clock::duration duration);

/// Learns what each command does to the machine. Give it to a WatchedMachine that is current while
/// the plan runs.
class CommandWatch final : public machine::ChangeObserver {
 public:
  /// What is to be known of a command.
  enum class Depth {
    outcome,  ///< whether it changed anything
    changes,  ///< each change
  };

  /// `machine` is the one that the WatchedMachine watches. In a preview foreign code does not run,
  /// so what a command meets and logs after its first hand-over says nothing about a run.
  CommandWatch(machine::Machine& machine, bool isPreview, Depth depth);

  void begin(RunObserver& observer);
  /// What happened since begin(), into the result. Whether anything was changed, or may have been.
  bool end(CommandResult& result);
  bool isBeyondForesight() const { return isPreview_ && handedOver_; }

  /// An item whose state cannot be read is changed all the same; the result tells of it.
  void aboutToChange(machine::Item const& item) override;
  void changed(machine::Item const& item) override { recorder_.changed(item); }
  void aboutToHandOver(machine::HandOver const& handOver) override;

 private:
  machine::watch::ChangeRecorder recorder_;
  bool isPreview_;
  Depth depth_;
  bool handedOver_ = false;
  std::string unread_;  ///< why an item's state could not be read; empty when all were
  RunObserver* observer_ = nullptr;
};

/// Performs the plan's commands one after the other, in the plan's order for both operations. An
/// exception ends its command only. Start and outcome of each are written to the installation log
/// as well, where a failure's text would otherwise be missing, and so is the trouble that no
/// line of the log tells.
std::vector<CommandResult> runPlan(Plan const& plan, Operation operation, RunObserver& observer,
                                   Now const& now, CommandWatch& watch);

}  // namespace regplan
