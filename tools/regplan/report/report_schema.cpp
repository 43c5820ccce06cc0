#include "tools/regplan/report/report_schema.hpp"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/regplan/names.hpp"
#include "tools/regplan/report/report_json.hpp"
#include "tools/regplan/schema_parts.hpp"

namespace regplan {
namespace {

using namespace schema_parts;

Json const text = {{"type", "string"}};
Json const boolean = {{"type", "boolean"}};
Json const integer = {{"type", "integer"}};
Json const count = {{"type", "integer"}, {"minimum", 0}};
Json const seconds = {{"type", "number"}, {"minimum", 0}};
Json const textOrNull = {{"type", {"string", "null"}}};
Json const texts = {{"type", "object"}, {"additionalProperties", {{"type", "string"}}}};

Json oneOf(std::initializer_list<std::string_view> names) {
  return {{"enum", std::vector<std::string>(names.begin(), names.end())}};
}

template <typename Values>
std::vector<std::string> keysOf(Values const& values) {
  std::vector<std::string> keys;
  for (auto const value : values) keys.emplace_back(nameOf(value).key);
  return keys;
}

/// An object with these members and no others; all are required but `optional`.
Json object(Json const& members, std::initializer_list<std::string_view> optional = {}) {
  Json required = Json::array();
  for (auto const& [name, schema] : members.items()) {
    if (std::find(optional.begin(), optional.end(), name) == optional.end()) {
      required.push_back(name);
    }
  }
  return {{"type", "object"},
          {"additionalProperties", false},
          {"properties", members},
          {"required", required}};
}

/// A condition of an item; `members` beside its "state".
Json stateObject(std::string_view state, Json const& members,
                 std::initializer_list<std::string_view> optional = {}) {
  Json all = {{"state", {{"const", state}}}};
  all.update(members);
  return object(all, optional);
}

Json fileState() {
  return described(
      "The text is there when the file is one and short.",
      stateObject("file",
                  {{"size", count},
                   {"sha256", described("Empty when the content could not be read.",
                                        {{"type", "string"}, {"pattern", "^([0-9a-f]{64})?$"}})},
                   {"isLink", boolean},
                   {"encoding", oneOf({"UTF-8", "UTF-8 with BOM", "UTF-16 LE", "UTF-16 BE",
                                       "UTF-16 LE without BOM"})},
                   {"text", text}},
                  {"encoding", "text"}));
}

Json shortcutState() {
  return stateObject("shortcut", {{"target", text},
                                  {"arguments", text},
                                  {"workingFolder", text},
                                  {"description", text},
                                  {"iconFile", text},
                                  {"iconIndex", integer},
                                  {"window", oneOf({"normal", "maximized", "minimized"})},
                                  {"runAsAdministrator", boolean},
                                  {"neverSearchForTarget", boolean}});
}

Json registryValueState() {
  return stateObject(
      "registryValue",
      {{"type", described("REG_SZ and so on, or \"type\" and a number.", text)},
       {"text",
        described("As people write it; the texts of a REG_MULTI_SZ on lines of their own.", text)},
       {"data", described("The bytes that the registry holds, in hexadecimal.",
                          {{"type", "string"}, {"pattern", "^([0-9a-f]{2})*$"}})}});
}

Json taskState() {
  return stateObject("task", {{"application", text},
                              {"arguments", text},
                              {"workingFolder", text},
                              {"description", text},
                              {"author", text},
                              {"startsAtLogon", boolean},
                              {"highestRunLevel", boolean},
                              {"group", text},
                              {"enabled", boolean}});
}

Json serviceState() {
  Json const action = object(
      {{"kind", oneOf({"none", "restart", "reboot", "runCommand"})}, {"delayMilliseconds", count}});
  return stateObject("service",
                     {{"displayName", text},
                      {"description", text},
                      {"commandLine", text},
                      {"start", oneOf({"automatic", "manual", "disabled"})},
                      {"recovery", listOf(action)},
                      {"resetAfterSeconds", count},
                      {"runState", oneOf({"stopped", "startPending", "stopPending", "running",
                                          "continuePending", "pausePending", "paused"})}});
}

Json stateSchema() {
  return described("How an item is at one moment; null: there is none.",
                   {{"oneOf",
                     {{{"type", "null"}},
                      stateObject("existing", Json::object()),
                      fileState(),
                      shortcutState(),
                      registryValueState(),
                      stateObject("variable", {{"text", text}}),
                      taskState(),
                      serviceState()}}});
}

/// The members that name an item, and more.
Json itemMembers(Json const& more) {
  Json members = {
      {"kind", oneOf({"file", "folder", "shortcut", "registryKey", "registryValue", "variable",
                      "task", "taskFolder", "service"})},
      {"where", described("The path, the key with its root, or the name.", text)},
      {"value", described("Of a registry value: its name, empty for the default value.", text)}};
  members.update(more);
  return members;
}

Json outcomeSchema() {
  return described(
      "nothingToDo: nothing was changed, and no foreign code called; doneWithProblems: trouble was "
      "told, see the troubles; handsOver: of a preview; what the command does from its first "
      "hand-over on is not known.",
      {{"enum", keysOf(outcomesWorstFirst)}});
}

/// Members of a command that has ended.
Json outcomeMembers() {
  return {
      {"outcome", outcomeSchema()},
      {"seconds", seconds},
      {"reason", described("Of a failure; of nothing to do, where the command told why.", text)},
      {"decidedBy", described("Of nothing to do: the option, or the file, that decided.", text)}};
}

Json troubleSchema() {
  return described(
      "What somebody must know of what a command did or did not do.",
      object({{"severity",
               described("error: something was not done; warning: it was, and is to be looked at.",
                         {{"enum", keysOf(std::array{Trouble::Severity::error,
                                                     Trouble::Severity::warning})}})},
              {"text", text},
              {"subject",
               described("The file, registry key, program ... that it is about.", textOrNull)},
              {"logged", described("Messages tell of it too.", boolean)}}));
}

Json restoredItemSchema() {
  Json const outcome = described(
      "unchanged: was already as before the run; left: not touched, because others changed it "
      "since "
      "or it is not empty.",
      {{"enum", keysOf(itemOutcomesWorstFirst)}});
  Json const members = {{"outcome", outcome},
                        {"reason", text},
                        {"found", described("How the restore found it.", reference("state"))},
                        {"before", described("How it was before the journal's first change of it, "
                                             "and is again where it was restored.",
                                             reference("state"))}};
  return object(itemMembers(members), {"value", "reason", "found", "before"});
}

template <typename Outcomes>
Json countOfEach(Outcomes const& outcomes) {
  Json members = Json::object();
  for (std::string const& key : keysOf(outcomes)) members[key] = count;
  return object(members);
}

Json countsSchema() {
  return described(
      "How many commands, or of a restore items, had each outcome.",
      {{"oneOf", {countOfEach(outcomesWorstFirst), countOfEach(itemOutcomesWorstFirst)}}});
}

Json summarySchema() {
  Json const failedCommand = object({{"number", count}, {"command", text}, {"reason", text}});
  return object({{"text", described("The result in a sentence.", text)},
                 {"failures", listOf({{"oneOf", {failedCommand, reference("restoredItem")}}})},
                 {"seconds", seconds},
                 {"changes", count},
                 {"counts", countsSchema()},
                 {"handOvers", count}},
                {"changes"});
}

Json requestSchema() {
  return object(
      {{"verb", oneOf({"preview", "run", "undo", "restore"})},
       {"file", described("The plan; of a restore the journal.", text)},
       {"simulatedMachine", described("Its folder; null: this computer.", textOrNull)},
       {"computer", described("The computer's name, where it tells one.", textOrNull)},
       {"started", described("ISO 8601, UTC.", text)},
       {"log", textOrNull},
       {"journal", textOrNull},
       {"force", described("Of a restore: also what was changed since.", boolean)},
       {"otherComputer",
        described("Of a restore: also on another computer than the journal's.", boolean)},
       {"otherAccount",
        described("Of a restore: also as another account than the journal's.", boolean)},
       {"untrustedJournal",
        described("Of a restore from a journal that others could have written or exchanged: why; "
                  "else null.",
                  textOrNull)},
       {"options", described("As the plan gives them; JSON where one is no text.", texts)}},
      {"force", "otherComputer", "otherAccount", "untrustedJournal", "options"});
}

Json definitions() {
  return {
      {"state", stateSchema()},
      {"change", object(itemMembers({{"difference", oneOf({"added", "changed", "removed"})},
                                     {"before", reference("state")},
                                     {"after", reference("state")}}),
                        {"value"})},
      {"handOver",
       described("Code of others got the word: what it does is in no list of changes, and no "
                 "restore takes it back.",
                 object({{"kind", oneOf({"program", "shellProgram", "module", "bundles"})},
                         {"what", described("The program, module or folder.", text)},
                         {"arguments", described("The command line or the entry point.", text)}}))},
      {"message", object({{"text", text},
                          {"trouble", described("Tells of trouble; see the troubles.", boolean)}})},
      {"trouble", troubleSchema()},
      {"restoredItem", restoredItemSchema()},
      {"request", requestSchema()},
      {"summary", summarySchema()}};
}

Json commandSchema() {
  Json members = {
      {"number", described("From 1.", count)},
      {"command", text},
      {"arguments", described("As the plan gives them; JSON where one is no text.", texts)}};
  members.update(outcomeMembers());
  members.update({{"troubles", listOf(reference("trouble"))},
                  {"messages", listOf(reference("message"))},
                  {"changes", listOf(reference("change"))},
                  {"handOvers", listOf(reference("handOver"))}});
  return object(members, {"reason", "decidedBy"});
}

Json whole(std::string_view title, std::string_view description, Json const& schema) {
  Json result = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                 {"title", title},
                 {"description", description}};
  result.update(schema);
  result["definitions"] = definitions();
  return result;
}

/// An event; its members beside "event".
Json event(std::string_view name, std::string_view description, Json const& members,
           std::initializer_list<std::string_view> optional = {}) {
  Json all = {{"event", {{"const", name}}}};
  all.update(members);
  return described(description, object(all, optional));
}

}  // namespace

std::string reportSchema() {
  Json const head = {{"report", {{"const", reportVersion}}},
                     {"regplan", described("The version of the program.", text)},
                     {"summary", reference("summary")},
                     {"request", reference("request")}};
  Json ofCommands = head;
  ofCommands["commands"] = listOf(commandSchema());
  Json ofRestore = head;
  ofRestore["items"] = listOf(reference("restoredItem"));
  ofRestore["handOvers"] = listOf(reference("handOver"));
  ofRestore["damage"] = described(
      "Where and why the journal could not be read on; null: it was read to its end.", textOrNull);
  return whole("Report of regplan", "What a preview, a run, an undo or a restore did.",
               {{"oneOf", {object(ofCommands), object(ofRestore)}}})
             .dump(2) +
         "\n";
}

std::string eventSchema() {
  Json const number = described("The command's, from 1.", count);
  Json finished = {{"number", number}, {"command", text}};
  finished.update(outcomeMembers());
  Json const events = {
      event("waiting",
            "The first line, if at all: another run, undo or restore goes on, and is waited for.",
            {{"limitSeconds", count}}),
      event("started", "A command starts.",
            {{"number", number}, {"total", count}, {"command", text}}),
      event("message", "The command wrote a line to the installation log.",
            {{"number", number}, {"message", reference("message")}}),
      event("trouble", "The command tells of trouble; where messages tell of it too, they follow.",
            {{"number", number}, {"trouble", reference("trouble")}}),
      event("handOver",
            "The command gives the word to code of others; without a number, at the end of a "
            "restore: what it does not take back.",
            {{"number", number}, {"handOver", reference("handOver")}}, {"number"}),
      event("change", "The command changed something. Told when it has ended, before that.",
            {{"number", number}, {"change", reference("change")}}),
      event("finished", "A command has ended.", finished, {"reason", "decidedBy"}),
      event("restored", "A restore has dealt with an item.", {{"item", reference("restoredItem")}}),
      event("summary", "The last line: all is done.",
            {{"request", reference("request")}, {"summary", reference("summary")}}),
      event("refused",
            "The only line: the command line, the plan or the journal was refused, or the machine "
            "is busy; nothing was changed.",
            {{"exitCode", described("As regplan --help tells.", count)},
             {"reasons", described("A sentence each.", listOf(text))}})};
  return whole("Event of regplan --json",
               "Standard output is one such object a line, in ASCII with escapes.",
               {{"oneOf", events}})
             .dump(2) +
         "\n";
}

}  // namespace regplan
