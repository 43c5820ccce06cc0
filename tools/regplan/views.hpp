#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "tools/regplan/names.hpp"
#include "tools/regplan/report/run_report.hpp"

/// What people and programs see while regplan works, UTF-8.
namespace regplan {

/// Shows a preview, run, undo or restore as it happens, each line flushed.
class View : public RunObserver {
 public:
  /// Another process changes the machine, and is waited for, up to `limit`. Comes before begin, if
  /// at all.
  virtual void waiting(std::chrono::seconds limit);
  /// Comes first. `commands`: how many the plan has; 0 for a restore.
  virtual void begin(Request const& request, std::size_t commands) = 0;
  /// What is to be known but stops nothing, fit to print.
  virtual void note(std::string const& text) = 0;
  virtual void restored(RestoredItem const& item) = 0;
  /// Comes last.
  virtual void end(RunReport const& report) = 0;
};

enum class Detail {
  quiet,    ///< what is not plainly done, and the summary
  normal,   ///< log messages too; in a preview, of those the troubles, and what it would change
  verbose,  ///< everything
};

/// Plain lines, for any output.
class PlainView final : public View {
 public:
  explicit PlainView(std::ostream& output, Detail detail = Detail::normal)
      : output_(output), detail_(detail) {}

  void begin(Request const& request, std::size_t commands) override;
  void note(std::string const& text) override;
  void started(std::size_t number, std::size_t total, std::string const& name) override;
  void message(Message const& message) override;
  void trouble(Trouble const& trouble) override;
  void handingOver(machine::HandOver const& handOver) override;
  void finished(CommandResult const& result) override;
  void restored(RestoredItem const& item) override;
  void end(RunReport const& report) override;

 private:
  std::ostream& output_;
  Detail detail_;
  bool isPreview_ = false;
  std::string current_;  ///< "[2/3] Name"
};

/// How a terminal is to be written to.
struct Terminal {
  bool isTerminal = false;  ///< lines can be rewritten
  bool colours = false;
  std::size_t columns = 80;
};

/// A terminal: a line for each command with what became of it and how long it took, and below them,
/// rewritten in place, the command that runs and how far all have come.
class TerminalView final : public View {
 public:
  TerminalView(std::ostream& output, Terminal const& terminal, Detail detail)
      : output_(output), terminal_(terminal), detail_(detail) {}

  void begin(Request const& request, std::size_t commands) override;
  void note(std::string const& text) override;
  void started(std::size_t number, std::size_t total, std::string const& name) override;
  void message(Message const& message) override;
  void trouble(Trouble const& trouble) override;
  void handingOver(machine::HandOver const& handOver) override;
  void finished(CommandResult const& result) override;
  void restored(RestoredItem const& item) override;
  void end(RunReport const& report) override;

 private:
  void line(std::string const& text);
  void drawLive();
  void eraseLive();
  std::string coloured(Tone tone, std::string const& text) const;
  std::string bar() const;

  std::ostream& output_;
  Terminal terminal_;
  Detail detail_;
  bool isPreview_ = false;
  bool isLive_ = false;
  std::size_t total_ = 0;
  std::size_t done_ = 0;
  std::string running_;
  std::vector<std::string> details_;  ///< of the command that runs: they stand below its line
};

/// For programs: one event a line, see eventSchema. Notes go to `errors`.
class EventView final : public View {
 public:
  EventView(std::ostream& output, std::ostream& errors) : output_(output), errors_(errors) {}

  void waiting(std::chrono::seconds limit) override;
  void begin(Request const& request, std::size_t commands) override;
  void note(std::string const& text) override;
  void started(std::size_t number, std::size_t total, std::string const& name) override;
  void message(Message const& message) override;
  void trouble(Trouble const& trouble) override;
  void handingOver(machine::HandOver const& handOver) override;
  void finished(CommandResult const& result) override;
  void restored(RestoredItem const& item) override;
  void end(RunReport const& report) override;
  /// In the place of all others: nothing was begun.
  void refused(int exitCode, std::vector<std::string> const& reasons);

 private:
  std::ostream& output_;
  std::ostream& errors_;
  std::size_t number_ = 0;
};

/// A change in one line, fit to print: "+ registry value HKEY_...\Version: REG_SZ 25.1".
std::string changeLine(machine::Change const& change);

}  // namespace regplan
