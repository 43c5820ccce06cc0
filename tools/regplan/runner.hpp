#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "machine/change.hpp"
#include "machine/watch/change_recorder.hpp"
#include "tools/regplan/plan.hpp"

namespace regplan {

enum class Operation { execute, undo };

enum class Outcome {
  done,
  handsOver,  ///< in a preview: whether it ends well from its first hand-over on is not known
  doneWithProblems,  ///< ended normally, but a message told of trouble
  failed,            ///< an exception left the command
};

/// A log message, UTF-8 as it came.
struct Message {
  std::string text;
  bool isTrouble = false;  ///< reports a failure that the command caught

  bool operator==(Message const&) const = default;
};

/// What became of one command. Texts are UTF-8 as they came, not yet fit to print.
struct CommandResult {
  std::string name;
  Outcome outcome = Outcome::done;
  std::chrono::steady_clock::duration duration{};
  std::string reason{};  ///< of a failure: the exception's text
  std::vector<Given> arguments{};
  std::vector<Message> messages{};
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
  /// The command that runs gives the word to code of others.
  virtual void handingOver(machine::HandOver const& handOver) = 0;
  virtual void finished(CommandResult const& result) = 0;
};

/// Tells how long commands take: std::chrono::steady_clock::now but in tests.
using Now = std::function<std::chrono::steady_clock::time_point()>;

/// True for the messages with which commands report a failure that they caught.
bool reportsTrouble(std::string_view message);

/// Seconds to the millisecond, "12.034 s".
std::string formatDuration(std::chrono::steady_clock::duration duration);

/// Learns what each command does to the machine. Give it to a WatchedMachine that is current while
/// the plan runs.
class CommandWatch final : public machine::ChangeObserver {
 public:
  /// `machine` is the one that the WatchedMachine watches. In a preview foreign code does not run,
  /// so what a command meets and logs after its first hand-over says nothing about a run.
  CommandWatch(machine::Machine& machine, bool isPreview);

  void begin(RunObserver& observer);
  /// What happened since begin(), into the result.
  void end(CommandResult& result);
  bool isBeyondForesight() const { return isPreview_ && handedOver_; }

  void aboutToChange(machine::Item const& item) override { recorder_.aboutToChange(item); }
  void changed(machine::Item const& item) override { recorder_.changed(item); }
  void aboutToHandOver(machine::HandOver const& handOver) override;

 private:
  machine::watch::ChangeRecorder recorder_;
  bool isPreview_;
  bool handedOver_ = false;
  RunObserver* observer_ = nullptr;
};

/// Performs the plan's commands one after the other, in the plan's order for both operations. An
/// exception ends its command only. Start and outcome of each are written to the installation log
/// as well, where a failure's text would otherwise be missing. Without a watch the results tell of
/// no changes and no hand-overs.
std::vector<CommandResult> runPlan(Plan const& plan, Operation operation, RunObserver& observer,
                                   Now const& now, CommandWatch* watch = nullptr);

}  // namespace regplan
