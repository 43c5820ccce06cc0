#include "tools/regplan/program.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

#include "fl/i18n/ustring.hpp"
#include "install/cpputil/logger.hpp"
#include "machine/machine.hpp"
#include "machine/printable.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "tools/regplan/report.hpp"
#include "tools/regplan/schema.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

namespace logger = install::cpputil::logger;
using machine::printable;
using machine::simulated::SimulatedMachine;

constexpr char const* footer =
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
    "A command that fails does not keep the following ones from running. \"done with\n"
    "problems\" marks one that ended normally after reporting trouble in its messages.\n"
    "\n"
    "Exit codes:\n"
    "  0  every command ran to its end, with or without problems\n"
    "  1  at least one command failed: an exception left it\n"
    "  2  the command line or the plan was refused; nothing was changed";

struct CommandLine {
  std::string plan;
  std::string machine;  ///< empty: this computer
  std::string log;      ///< empty: the default
  bool noLog = false;
};

/// A command line or a surrounding that the program cannot work with.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

void addPlan(CLI::App& verb, CommandLine& given) {
  verb.add_option("PLAN", given.plan, "The plan, a JSON file on this computer")
      ->required()
      ->type_name("");
}

void addRunOptions(CLI::App& verb, CommandLine& given) {
  verb.add_option("--machine", given.machine,
                  "Work on the simulated machine in this folder, which\n"
                  "exists, instead of this computer; required where\n"
                  "this is no Windows computer")
      ->type_name("DIR")
      ->option_text("DIR");
  auto* const log = verb.add_option("--log", given.log,
                                    "Append the installation log to this file, a Windows\n"
                                    "path on the machine worked on; without it, to\n"
                                    "Vortan\\registration.log in that machine's\n"
                                    "ProgramData folder")
                        ->type_name("FILE")
                        ->option_text("FILE");
  verb.add_flag("--no-log", given.noLog, "Write no log file")->option_text(" ")->excludes(log);
}

/// The machine that `directory` stands for; none when it is empty and this computer is meant.
std::unique_ptr<SimulatedMachine> simulatedMachine(std::string const& directory) {
  if (directory.empty()) return nullptr;
  std::filesystem::path const folder(std::u8string(directory.begin(), directory.end()));
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

std::string joinedLines(std::vector<std::string> const& lines) {
  std::string text;
  for (std::string const& line : lines) text += line + "\n";
  return text;
}

/// The plan in the file; nullopt after its errors were written.
std::optional<Plan> loadPlan(std::string const& file, std::ostream& output) {
  PlanErrors errors;
  std::string const text = readPlanFile(file, errors);
  std::optional<Plan> plan;
  if (errors.empty()) plan = readPlan(text, errors);
  output << joinedLines(errors.lines(file));
  return plan;
}

UString logFile(CommandLine const& given) {
  if (!given.log.empty()) return fl::i18n::utf8_to_ustring(given.log);
  UString const folder = machine::current().shell().knownFolder(machine::KnownFolder::programData);
  return (Path(folder) / Path(u"Vortan") / Path(u"registration.log")).ustring();
}

/// Opens the log and tells where it is, or that the run goes on without one.
void openLog(CommandLine const& given, std::ostream& output) {
  std::vector<std::string> troubles;
  bool opened = false;
  try {
    logger::scoped_observer const watch([&troubles](UString const& message) {
      troubles.push_back(fl::i18n::ustring_to_utf8(message));
    });
    UString const file = logFile(given);
    opened = logger::set_destination(file);
    if (opened) output << "Log: " << printable(fl::i18n::ustring_to_utf8(file)) << "\n";
  } catch (std::exception const& failure) {
    troubles.push_back(failure.what());
  }
  if (opened) return;
  output << "No log is written:\n";
  for (std::string const& trouble : troubles) output << "  " << printable(trouble) << "\n";
}

std::string heading(CommandLine const& given, Operation operation, std::size_t commands) {
  std::string text = operation == Operation::execute ? "Running " : "Undoing ";
  text += printable(given.plan) + ", " + counted(commands, "command");
  if (!given.machine.empty()) {
    text += ", on the simulated machine " + printable(given.machine);
  }
  return text;
}

/// Closes the log file at the end of a run.
struct LogScope {
  LogScope() = default;
  LogScope(LogScope const&) = delete;
  LogScope& operator=(LogScope const&) = delete;
  ~LogScope() { logger::close_destination(); }
};

/// Keeps what the run did to a simulated machine; false after telling that it was lost.
bool saved(SimulatedMachine* simulated, std::ostream& errors) {
  try {
    if (simulated) simulated->save();
    return true;
  } catch (std::exception const& failure) {
    errors << "regplan: the simulated machine could not be saved: " << printable(failure.what())
           << "\n";
    return false;
  }
}

ExitCode runOn(CommandLine const& given, Operation operation, Surroundings const& surroundings) {
  std::optional<Plan> const plan = loadPlan(given.plan, surroundings.errors);
  if (!plan) return refused;
  std::ostream& output = surroundings.output;
  output << heading(given, operation, plan->commands.size()) << "\n";
  LogScope const log;
  if (!given.noLog) openLog(given, output);
  TextProgress progress(output);
  auto const results = runPlan(*plan, operation, progress, surroundings.now);
  output << "\n" << summary(results) << std::endl;
  bool const anyFailed = std::ranges::count(results, Outcome::failed, &CommandResult::outcome) > 0;
  return anyFailed ? commandFailed : allRan;
}

ExitCode runVerb(CommandLine const& given, Operation operation, Surroundings const& surroundings) {
  std::unique_ptr<SimulatedMachine> const simulated = simulatedMachine(given.machine);
  std::optional<machine::ScopedMachine> scope;
  if (simulated) scope.emplace(*simulated);
  requireMachine();
  ExitCode const result = runOn(given, operation, surroundings);
  if (result == refused || saved(simulated.get(), surroundings.errors)) return result;
  return commandFailed;
}

ExitCode validateVerb(CommandLine const& given, Surroundings const& surroundings) {
  std::optional<Plan> const plan = loadPlan(given.plan, surroundings.errors);
  if (!plan) return refused;
  surroundings.output << printable(given.plan) << ": valid, "
                      << counted(plan->commands.size(), "command") << std::endl;
  return allRan;
}

ExitCode listVerb(Surroundings const& surroundings) {
  writeCatalogue(surroundings.output, commandCatalogue(), optionCatalogue());
  return allRan;
}

ExitCode schemaVerb(Surroundings const& surroundings) {
  surroundings.output << planSchema(commandCatalogue(), optionCatalogue()) << std::flush;
  return allRan;
}

constexpr std::array<std::string_view, 5> verbs = {"run", "undo", "validate", "list", "schema"};

/// What is wrong with the command line.
std::string reasonOf(CLI::ParseError const& error, CLI::App const& app) {
  std::vector<std::string> const extras = app.remaining(true);
  if (app.get_subcommands().empty()) {
    std::string const given = extras.empty() ? "" : extras.front();
    return extras.empty() ? "a verb is needed: run, undo, validate, list or schema"
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
  app.footer(footer);

  CommandLine given;
  CLI::App* const run = app.add_subcommand("run", "Execute the plan's commands, in its order");
  CLI::App* const undo = app.add_subcommand("undo", "Undo the plan's commands, in the same order");
  CLI::App* const validate = app.add_subcommand("validate", "Check a plan and run nothing");
  CLI::App* const list =
      app.add_subcommand("list", "List the commands, arguments and options of plans");
  CLI::App* const schema = app.add_subcommand("schema", "Print the JSON Schema of plans");
  for (CLI::App* const verb : {run, undo, validate, list, schema}) {
    verb->set_help_flag("--help", "Show this help");
    verb->footer("Exit codes and the form of plans: regplan --help");
  }
  for (CLI::App* const verb : {run, undo, validate}) addPlan(*verb, given);
  for (CLI::App* const verb : {run, undo}) addRunOptions(*verb, given);

  try {
    std::ranges::reverse(arguments);
    app.parse(std::move(arguments));
    if (*run) return runVerb(given, Operation::execute, surroundings);
    if (*undo) return runVerb(given, Operation::undo, surroundings);
    if (*validate) return validateVerb(given, surroundings);
    if (*list) return listVerb(surroundings);
    return schemaVerb(surroundings);
  } catch (CLI::CallForHelp const&) {
    surroundings.output << app.help();
    return allRan;
  } catch (CLI::CallForVersion const& version) {
    surroundings.output << version.what() << "\n";
    return allRan;
  } catch (CLI::ParseError const& error) {
    surroundings.errors << "regplan: " << reasonOf(error, app)
                        << "\nRun \"regplan --help\" for what it takes.\n";
  } catch (std::exception const& error) {
    surroundings.errors << "regplan: " << printable(error.what()) << "\n";
  }
  return refused;
}

}  // namespace regplan
