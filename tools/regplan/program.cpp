#include "tools/regplan/program.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/logger.hpp"
#include "install/cpputil/machine_lock.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/host/host_file.hpp"
#include "machine/journal/journal_writer.hpp"
#include "machine/journal/restore.hpp"
#include "machine/machine.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/printable.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tools/regplan/exit_codes.hpp"
#include "tools/regplan/listing.hpp"
#include "tools/regplan/report/report_file.hpp"
#include "tools/regplan/report/report_schema.hpp"
#include "tools/regplan/schema.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

namespace logger = install::cpputil::logger;
using machine::printable;
using machine::simulated::SimulatedMachine;

constexpr char const* explanation =
    "A plan is a JSON file:\n"
    "\n"
    "  {\n"
    "    \"options\": { \"metadataRootPath\": \"C:\\\\Program Files\\\\Vortan\\\\R1\" },\n"
    "    \"commands\": [\n"
    "      { \"command\": \"AddVTPathEntriesToMetadataFile\" },\n"
    "      { \"command\": \"UpdatePathEnvironmentVariable\",\n"
    "        \"pathEntry\": \"C:\\\\Program Files\\\\Vortan\\\\R1\\\\bin\",\n"
    "        \"productVersion\": \"25.1.0.1\", \"executableName\": \"vortan.exe\" }\n"
    "    ]\n"
    "  }\n"
    "\n"
    "\"regplan list\" tells every command, argument and option; \"regplan schema\" tells\n"
    "them to editors and other programs. A plan is checked as a whole first: with\n"
    "anything in it unknown, missing or of the wrong type, no command is run. Files\n"
    "larger than 4 MiB or nested deeper than 32 levels are refused.\n"
    "\n"
    "A command that fails does not keep the following ones from running. Of each is told\n"
    "what became of it:\n"
    "  done                something was changed, and there was no trouble\n"
    "  nothing to do       nothing was changed: an option says so, or all was in place\n"
    "  done with problems  it ended, but something was not done or is to be looked at\n"
    "  hands over          of a preview: foreign code decides what becomes of it\n"
    "  failed              an error ended it\n"
    "\n"
    "A preview keeps every change in memory and runs no foreign code: where a command\n"
    "starts a program, calls a module or starts bundles, it says \"hands over to foreign\n"
    "code\". What that code does is in no preview, no report and no journal.\n"
    "\n"
    "With --journal a run can be taken back exactly: \"regplan restore FILE\" puts every\n"
    "item back to how it was before, also after a failure or the end of the process\n"
    "half-way. What others have changed since is left as it is, unless --force.\n"
    "\n";

std::string footer() {
  std::string text = explanation;
  text += "Exit codes:";
  for (ExitCodeMeaning const& entry : exitCodes) {
    text += "\n  " + std::to_string(entry.code) + "  " + wrapped(entry.meaning, 5, 84);
  }
  return text;
}

struct CommandLine {
  std::string plan;
  std::string machine;  ///< empty: this computer
  std::string log;      ///< empty: the default
  bool noLog = false;
  std::string journal;  ///< empty: none is written
  bool force = false;
  std::uint32_t wait = 600;  ///< seconds
  bool otherComputer = false;
  bool otherAccount = false;
  bool untrustedJournal = false;
  std::vector<std::string> reports;
  bool quiet = false;
  bool verbose = false;
  bool json = false;
  bool strict = false;
  bool schemaOfReports = false;
  bool schemaOfEvents = false;
};

/// A command line, a plan, a journal or a surrounding that the program cannot work with.
class Refusal : public std::exception {
 public:
  explicit Refusal(std::string const& reason, ExitCode code = refused)
      : reasons_{reason}, code_(code) {}
  /// Each names the file and the place.
  explicit Refusal(std::vector<std::string> reasons)
      : reasons_(std::move(reasons)), isOfFile_(true) {}

  char const* what() const noexcept override { return "refused"; }
  std::vector<std::string> const& reasons() const { return reasons_; }
  ExitCode code() const { return code_; }

  void tell(std::ostream& errors) const {
    for (std::string const& reason : reasons_) {
      errors << (isOfFile_ ? "" : "regplan: ") << reason << "\n";
    }
    errors << std::flush;
  }

 private:
  std::vector<std::string> reasons_;
  ExitCode code_ = refused;
  bool isOfFile_ = false;
};

void addPlan(CLI::App& verb, CommandLine& given) {
  verb.add_option("PLAN", given.plan, "The plan, a JSON file on this computer")
      ->required()
      ->type_name("");
}

void addMachine(CLI::App& verb, CommandLine& given) {
  verb.add_option("--machine", given.machine,
                  "Work on the simulated machine in this folder, which\n"
                  "exists, instead of this computer; required where\n"
                  "this is no Windows computer")
      ->type_name("DIR")
      ->option_text("DIR");
}

void addLog(CLI::App& verb, CommandLine& given) {
  auto* const log = verb.add_option("--log", given.log,
                                    "Append the installation log to this file, a Windows\n"
                                    "path on the machine worked on; without it, to\n"
                                    "Vortan\\registration.log in that machine's\n"
                                    "ProgramData folder")
                        ->type_name("FILE")
                        ->option_text("FILE");
  verb.add_flag("--no-log", given.noLog, "Write no log file")->option_text(" ")->excludes(log);
}

void addOutput(CLI::App& verb, CommandLine& given) {
  verb.add_option("--report", given.reports,
                  "Write a report: a page for people where FILE ends in\n"
                  ".html, for programs where it ends in .json; may be\n"
                  "given more than once")
      ->type_name("FILE")
      ->option_text("FILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  auto* const quiet = verb.add_flag("--quiet", given.quiet,
                                    "Show the summary, and only the commands that are not\n"
                                    "plainly done")
                          ->option_text(" ");
  auto* const verbose = verb.add_flag("--verbose", given.verbose,
                                      "Show messages and changes as well, and which of the\n"
                                      "system's guards are on for this process")
                            ->option_text(" ")
                            ->excludes(quiet);
  verb.add_flag("--json", given.json,
                "Write nothing but events to standard output, a JSON\n"
                "object a line (\"regplan schema --events\")")
      ->option_text(" ")
      ->excludes(quiet)
      ->excludes(verbose);
}

void addStrict(CLI::App& verb, CommandLine& given) {
  verb.add_flag("--strict", given.strict, "End with 1 when a command was done with problems")
      ->option_text(" ");
}

void addJournal(CLI::App& verb, CommandLine& given) {
  verb.add_option("--journal", given.journal,
                  "Write a journal to this new file on this computer,\n"
                  "whose folder is made when missing; from it \"regplan\n"
                  "restore\" takes the changes back. Longer contents go\n"
                  "to FILE.files beside it")
      ->type_name("FILE")
      ->option_text("FILE");
}

/// The plan's argument of the verb is a journal's.
void addRestore(CLI::App& verb, CommandLine& given) {
  verb.add_option("FILE", given.plan, "The journal of a run or undo")->required()->type_name("");
  verb.add_flag("--force", given.force, "Restore also what others have changed since")
      ->option_text(" ");
  verb.add_flag("--other-computer", given.otherComputer,
                "Restore also on another computer than the one that\n"
                "the journal was written on")
      ->option_text(" ");
  verb.add_flag("--other-account", given.otherAccount,
                "Restore also as another account than the one that\n"
                "wrote the journal")
      ->option_text(" ");
  verb.add_flag("--untrusted-journal", given.untrustedJournal,
                "Restore also from a journal that others could have\n"
                "written or exchanged; reports tell that it was so")
      ->option_text(" ");
}

void addWait(CLI::App& verb, CommandLine& given) {
  constexpr std::uint32_t day = 24 * 60 * 60;
  verb.add_option("--wait", given.wait,
                  "Wait at most so long for another run, undo or\n"
                  "restore on this machine to end; without it, 600")
      ->check(CLI::Range(std::uint32_t{0}, day))
      ->type_name("SECONDS")
      ->option_text("SECONDS");
}

std::filesystem::path hostPath(std::string const& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

/// The machine that `directory` stands for; none when it is empty and this computer is meant.
std::unique_ptr<SimulatedMachine> simulatedMachine(std::string const& directory) {
  if (directory.empty()) return nullptr;
  std::filesystem::path const folder = hostPath(directory);
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error)) {
    throw Refusal("--machine: " + printable(directory) + " is not an existing folder");
  }
  return std::make_unique<SimulatedMachine>(folder);
}

void requireMachine() {
  try {
    machine::current();
  } catch (std::logic_error const&) {
    throw Refusal("--machine DIR is required: this is no Windows computer");
  }
}

using install::cpputil::machine_lock;

/// Keeps others from changing the current machine meanwhile. A wait for one who does is told.
std::unique_ptr<machine_lock> lockMachine(CommandLine const& given, View& view) {
  std::chrono::seconds const limit(given.wait);
  try {
    return std::make_unique<machine_lock>(limit, [&] { view.waiting(limit); });
  } catch (install::cpputil::machine_busy const& failure) {
    throw Refusal(std::string(failure.what()) + "; nothing was changed", busy);
  }
}

Plan loadPlan(std::string const& file) {
  PlanErrors errors;
  std::string const text = readPlanFile(file, errors);
  std::optional<Plan> plan;
  if (errors.empty()) plan = readPlan(text, errors);
  if (!plan) throw Refusal(errors.lines(file));
  return std::move(*plan);
}

UString logFile(CommandLine const& given) {
  if (!given.log.empty()) return fl::i18n::utf8_to_ustring(given.log);
  UString const folder = machine::current().shell().knownFolder(machine::KnownFolder::programData);
  return (Path(folder) / Path(u"Vortan") / Path(u"registration.log")).ustring();
}

/// Opens the log and tells where it is, or that the run goes on without one. The file's name; empty
/// without one.
std::string openLog(CommandLine const& given, View& view) {
  std::vector<std::string> troubles;
  try {
    logger::scoped_observer const watch([&troubles](UString const& message) {
      troubles.push_back(fl::i18n::ustring_to_utf8(message));
    });
    namespace trouble = install::cpputil::trouble;
    trouble::scoped_observer const told([&troubles](trouble::report const& report) {
      troubles.push_back(fl::i18n::ustring_to_utf8(report.text));
    });
    UString const file = logFile(given);
    std::string name = fl::i18n::ustring_to_utf8(file);
    if (logger::set_destination(file)) {
      view.note("Log: " + printable(name));
      for (std::string const& trouble : troubles) view.note("  " + printable(trouble));
      return name;
    }
  } catch (std::exception const& failure) {
    troubles.push_back(failure.what());
  }
  view.note("No log is written:");
  for (std::string const& trouble : troubles) view.note("  " + printable(trouble));
  return {};
}

/// Closes the log file at the end of a run.
struct LogScope {
  LogScope() = default;
  LogScope(LogScope const&) = delete;
  LogScope& operator=(LogScope const&) = delete;
  ~LogScope() { logger::close_destination(); }
};

/// False after telling why what was done could not be kept.
template <typename Action>
bool succeeds(std::ostream& errors, std::string_view what, Action const& action) {
  try {
    action();
    return true;
  } catch (std::exception const& failure) {
    errors << "regplan: " << what << printable(failure.what()) << std::endl;
    return false;
  }
}

std::unique_ptr<View> makeView(CommandLine const& given, Surroundings const& surroundings) {
  if (given.json) return std::make_unique<EventView>(surroundings.output, surroundings.errors);
  Detail const detail = given.quiet     ? Detail::quiet
                        : given.verbose ? Detail::verbose
                                        : Detail::normal;
  if (!surroundings.terminal.isTerminal) {
    return std::make_unique<PlainView>(surroundings.output, detail);
  }
  return std::make_unique<TerminalView>(surroundings.output, surroundings.terminal, detail);
}

Request requestOf(Verb verb, CommandLine const& given) {
  Request request;
  request.verb = verb;
  request.file = given.plan;
  request.machine = given.machine;
  auto const computer = machine::current().environment().variable(u"COMPUTERNAME");
  if (computer) request.computer = machine::toUtf8(*computer);
  request.started = machine::current().clock().now();
  return request;
}

using ReportFiles = std::vector<std::unique_ptr<ReportFile>>;

ReportFiles openReports(CommandLine const& given) {
  ReportFiles files;
  for (std::string const& name : given.reports) files.push_back(std::make_unique<ReportFile>(name));
  return files;
}

bool writeReports(ReportFiles const& files, RunReport const& report, std::ostream& errors) {
  bool complete = true;
  for (auto const& file : files) {
    complete = succeeds(errors, "", [&] { file->write(report); }) && complete;
  }
  return complete;
}

using machine::journal::JournalWriter;

void noteGuards(CommandLine const& given, Surroundings const& surroundings, View& view) {
  if (!given.verbose) return;
  for (machine::Guard const& guard : surroundings.guards) {
    view.note("Guard: " + guard.name + ": " + std::string(nameOf(guard.state)) +
              (guard.reason.empty() ? "" : ": " + printable(guard.reason)));
  }
}

/// None where none is asked for. A failure is a refusal: nothing was changed yet.
std::unique_ptr<JournalWriter> openJournal(CommandLine const& given) {
  if (given.journal.empty()) return nullptr;
  std::filesystem::path const file = hostPath(given.journal);
  try {
    machine::makeFolders(file.parent_path());
    return std::make_unique<JournalWriter>(file, machine::current(), given.plan);
  } catch (machine::UntrustedPath const& failure) {
    throw Refusal("--journal: " + printable(given.journal) +
                  " would be of no use: " + printable(failure.what()));
  } catch (std::system_error const& failure) {
    bool const isThere = failure.code() == std::errc::file_exists;
    std::error_code unused;
    bool const isFiles = isThere && !std::filesystem::exists(file, unused);
    throw Refusal("--journal: " + printable(given.journal) + (isFiles ? ".files " : " ") +
                  (isThere ? "exists; a journal is never written over"
                           : "cannot be written: " + failure.code().message()));
  }
}

/// Runs the plan on the current machine, watched when anybody is to be told of changes.
void perform(Plan const& plan, CommandLine const& given, JournalWriter* journal, RunReport& report,
             View& view, Surroundings const& surroundings) {
  bool const isPreview = report.request.verb == Verb::preview;
  Operation const operation =
      report.request.verb == Verb::undo ? Operation::undo : Operation::execute;
  machine::Machine& target = machine::current();
  std::optional<machine::overlay::OverlayMachine> overlay;
  if (isPreview) overlay.emplace(target);
  machine::Machine& changed = overlay ? *overlay : target;

  bool const isTold = isPreview || given.verbose || given.json || !given.reports.empty();
  CommandWatch watch(changed, isPreview,
                     isTold ? CommandWatch::Depth::changes : CommandWatch::Depth::outcome);
  // The journal comes first: what it cannot write down does not happen.
  std::vector<machine::ChangeObserver*> observers;
  if (journal) observers.push_back(journal);
  observers.push_back(&watch);
  machine::watch::WatchedMachine watched(changed, observers);
  machine::ScopedMachine const scope(watched);
  report.commands = runPlan(plan, operation, view, surroundings.now, watch);
}

ExitCode runOn(CommandLine const& given, Verb verb, Surroundings const& surroundings) {
  Plan const plan = loadPlan(given.plan);
  auto const view = makeView(given, surroundings);
  auto const lock = verb == Verb::preview ? nullptr : lockMachine(given, *view);
  ReportFiles const files = openReports(given);
  RunReport report{requestOf(verb, given)};
  report.request.options = plan.options;
  report.request.journal = given.journal;
  auto const journal = openJournal(given);
  view->begin(report.request, plan.commands.size());
  noteGuards(given, surroundings, *view);
  {
    LogScope const log;
    if (journal) {
      view->note("Journal: " + printable(given.journal) +
                 ", from which \"regplan restore\" takes the changes back");
    }
    bool const isLogged = verb != Verb::preview && !given.noLog;
    if (isLogged) report.request.log = openLog(given, *view);
    perform(plan, given, journal.get(), report, *view, surroundings);
  }
  for (CommandResult const& result : report.commands) report.duration += result.duration;
  view->end(report);
  bool const complete = writeReports(files, report, surroundings.errors);
  bool const hasFailed = hasFailures(report) || (given.strict && hasProblems(report));
  return hasFailed || !complete ? somethingFailed : allDone;
}

namespace journal = machine::journal;

RestoredItem restoredItem(journal::RestoreStep const& step) {
  RestoredItem item{step.item, step.outcome, step.reason};
  if (step.found && *step.found != step.before)
    item.change = machine::Change{step.item, *step.found, step.before};
  return item;
}

/// What is no journal is refused, as is one of which not even the first record is whole, and one
/// that anybody could have written.
journal::Journal readJournal(std::string const& file, bool isAnybodys) {
  auto const trust = isAnybodys ? journal::JournalTrust::waived : journal::JournalTrust::required;
  try {
    journal::Journal result = journal::readJournal(hostPath(file), trust);
    if (!result.damage || result.damage->record > 0) return result;
    throw Refusal(printable(file) + ": no journal: " + result.damage->reason);
  } catch (machine::UntrustedPath const& failure) {
    throw Refusal(printable(file) + ": not trusted: " + printable(failure.what()) +
                  "; --untrusted-journal restores it all the same");
  } catch (std::system_error const& failure) {
    throw Refusal(printable(file) + ": " + failure.code().message());
  } catch (std::runtime_error const& failure) {
    throw Refusal(printable(file) + ": " + printable(failure.what()));
  }
}

/// Told before anything is shown or opened; the option that allows it, too.
void requireOrigin(journal::Journal const& read, journal::RestoreOptions const& options,
                   std::string const& file) {
  try {
    journal::requireOrigin(read, machine::current(), options);
  } catch (journal::ForeignJournal const& foreign) {
    throw Refusal(printable(file) + ": " + printable(foreign.what()) +
                  "; --other-computer and --other-account restore it all the same");
  }
}

std::string damageText(journal::Damage const& damage) {
  return "record " + std::to_string(damage.record) + ", at byte " + std::to_string(damage.byte) +
         ": " + damage.reason;
}

ExitCode restoreOn(CommandLine const& given, Surroundings const& surroundings) {
  auto const view = makeView(given, surroundings);
  // Before the journal is read: it may be that of a run that goes on.
  auto const lock = lockMachine(given, *view);
  journal::Journal const read = readJournal(given.plan, given.untrustedJournal);
  journal::RestoreOptions const options{given.force, given.otherComputer, given.otherAccount};
  requireOrigin(read, options, given.plan);
  ReportFiles const files = openReports(given);
  RunReport report{requestOf(Verb::restore, given)};
  report.request.force = given.force;
  report.request.otherComputer = given.otherComputer;
  report.request.otherAccount = given.otherAccount;
  report.request.untrustedJournal = read.weakness;
  view->begin(report.request, 0);
  if (!read.weakness.empty()) {
    view->note("Others could have written this journal: " + printable(read.weakness));
  }
  noteGuards(given, surroundings, *view);
  auto const start = surroundings.now();
  journal::RestoreReport const result = journal::restore(read, machine::current(), options);
  report.duration = surroundings.now() - start;
  report.handOvers = result.handOvers;
  for (journal::RestoreStep const& step : result.steps) {
    report.items.push_back(restoredItem(step));
    view->restored(report.items.back());
  }
  if (result.damage) {
    report.damage = damageText(*result.damage);
    view->note("The journal is not whole, what follows in it is not restored: " +
               printable(report.damage));
  }
  view->end(report);
  bool const complete = writeReports(files, report, surroundings.errors);
  bool const isAllBack = result.allRestored() && !result.damage;
  return isAllBack && complete ? allDone : somethingFailed;
}

template <typename Action>
ExitCode onMachine(CommandLine const& given, Surroundings const& surroundings,
                   Action const& action) {
  std::unique_ptr<SimulatedMachine> const simulated = simulatedMachine(given.machine);
  std::optional<machine::ScopedMachine> scope;
  if (simulated) scope.emplace(*simulated);
  requireMachine();
  ExitCode const result = action();
  if (!simulated) return result;
  bool const isSaved =
      succeeds(surroundings.errors,
               "the simulated machine could not be saved: ", [&] { simulated->save(); });
  return isSaved ? result : somethingFailed;
}

ExitCode restoreVerb(CommandLine const& given, Surroundings const& surroundings) {
  return onMachine(given, surroundings, [&] { return restoreOn(given, surroundings); });
}

ExitCode runVerb(CommandLine const& given, Verb verb, Surroundings const& surroundings) {
  return onMachine(given, surroundings, [&] { return runOn(given, verb, surroundings); });
}

ExitCode validateVerb(CommandLine const& given, Surroundings const& surroundings) {
  Plan const plan = loadPlan(given.plan);
  surroundings.output << printable(given.plan) << ": valid, "
                      << counted(plan.commands.size(), "command") << std::endl;
  return allDone;
}

ExitCode listVerb(Surroundings const& surroundings) {
  writeCatalogue(surroundings.output, commandCatalogue(), optionCatalogue());
  return allDone;
}

ExitCode schemaVerb(CommandLine const& given, Surroundings const& surroundings) {
  surroundings.output << (given.schemaOfReports ? reportSchema()
                          : given.schemaOfEvents
                              ? eventSchema()
                              : planSchema(commandCatalogue(), optionCatalogue()))
                      << std::flush;
  return allDone;
}

constexpr std::array<std::string_view, 7> verbs = {"preview",  "run",  "undo",  "restore",
                                                   "validate", "list", "schema"};

/// What is wrong with the command line.
std::string reasonOf(CLI::ParseError const& error, CLI::App const& app) {
  std::vector<std::string> const extras = app.remaining(true);
  if (app.get_subcommands().empty()) {
    std::string const given = extras.empty() ? "" : extras.front();
    return extras.empty()
               ? "a verb is needed: preview, run, undo, restore, validate, list or schema"
               : unknown("verb " + inQuotes(given), given, verbs);
  }
  if (extras.empty()) return printable(error.what());
  std::string reason = "not expected:";
  for (std::string const& extra : extras) reason += " " + inQuotes(extra);
  return reason;
}

}  // namespace

int runProgram(std::vector<std::string> arguments, Surroundings const& surroundings) {
  CLI::App app("Performs an installation's registration steps from a plan, and takes them back.",
               "regplan");
  app.allow_windows_style_options(false);
  app.set_help_flag("--help", "Show this help; \"regplan VERB --help\": a verb's own");
  app.set_version_flag("--version", "regplan " REGPLAN_VERSION, "Show the version");
  app.require_subcommand(1);
  app.footer(footer());

  CommandLine given;
  CLI::App* const preview =
      app.add_subcommand("preview", "Show what running a plan would change, and change nothing");
  CLI::App* const run = app.add_subcommand("run", "Execute the plan's commands, in its order");
  CLI::App* const undo = app.add_subcommand("undo", "Undo the plan's commands, in the same order");
  CLI::App* const restore =
      app.add_subcommand("restore", "Take back what a journal tells, whatever became of its run");
  CLI::App* const validate = app.add_subcommand("validate", "Check a plan and run nothing");
  CLI::App* const list =
      app.add_subcommand("list", "List the commands, arguments and options of plans");
  CLI::App* const schema = app.add_subcommand("schema", "Print the JSON Schema of plans");
  for (CLI::App* const verb : {preview, run, undo, restore, validate, list, schema}) {
    verb->set_help_flag("--help", "Show this help");
    verb->footer("Exit codes and the form of plans: regplan --help");
  }
  for (CLI::App* const verb : {preview, run, undo, validate}) addPlan(*verb, given);
  addRestore(*restore, given);
  for (CLI::App* const verb : {preview, run, undo, restore}) addMachine(*verb, given);
  for (CLI::App* const verb : {run, undo}) addLog(*verb, given);
  for (CLI::App* const verb : {run, undo}) addJournal(*verb, given);
  for (CLI::App* const verb : {run, undo, restore}) addWait(*verb, given);
  for (CLI::App* const verb : {preview, run, undo, restore}) addOutput(*verb, given);
  for (CLI::App* const verb : {preview, run, undo}) addStrict(*verb, given);
  auto* const ofReports =
      schema->add_flag("--report", given.schemaOfReports, "That of reports in JSON instead")
          ->option_text(" ");
  schema
      ->add_flag("--events", given.schemaOfEvents,
                 "That of the events of --json, one of them, instead")
      ->option_text(" ")
      ->excludes(ofReports);

  // Known before the command line is: one that is refused is told in the form that it asks for.
  bool const isForPrograms = std::ranges::find(arguments, "--json") != arguments.end();
  auto const refuse = [&](Refusal const& refusal) {
    if (isForPrograms) {
      EventView(surroundings.output, surroundings.errors)
          .refused(refusal.code(), refusal.reasons());
    } else {
      refusal.tell(surroundings.errors);
    }
    return refusal.code();
  };
  try {
    std::ranges::reverse(arguments);
    app.parse(std::move(arguments));
    if (*preview) return runVerb(given, Verb::preview, surroundings);
    if (*run) return runVerb(given, Verb::run, surroundings);
    if (*undo) return runVerb(given, Verb::undo, surroundings);
    if (*restore) return restoreVerb(given, surroundings);
    if (*validate) return validateVerb(given, surroundings);
    if (*list) return listVerb(surroundings);
    return schemaVerb(given, surroundings);
  } catch (CLI::CallForHelp const&) {
    surroundings.output << app.help();
    return allDone;
  } catch (CLI::CallForVersion const& version) {
    surroundings.output << version.what() << "\n";
    return allDone;
  } catch (CLI::ParseError const& error) {
    refuse(Refusal(reasonOf(error, app)));
    if (!isForPrograms) surroundings.errors << "Run \"regplan --help\" for what it takes.\n";
    return refused;
  } catch (Refusal const& refusal) {
    return refuse(refusal);
  } catch (std::exception const& error) {
    return refuse(Refusal(printable(error.what())));
  }
}

}  // namespace regplan
