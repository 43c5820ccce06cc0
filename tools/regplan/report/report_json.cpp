#include "tools/regplan/report/report_json.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "machine/hexadecimal.hpp"
#include "tools/regplan/names.hpp"
#include "tools/regplan/report/file_text.hpp"
#include "tools/regplan/report/shown_change.hpp"

namespace regplan {
namespace {

using Json = nlohmann::ordered_json;
using machine::Item;
using machine::ServiceRecovery;
using machine::toUtf8;

std::string linesText(FileText const& text) {
  std::string all;
  std::string const end = text.lineEnds == "CRLF" ? "\r\n" : "\n";
  for (std::size_t i = 0; i < text.lines.size(); ++i) {
    bool const isLast = i + 1 == text.lines.size();
    all += toUtf8(text.lines[i]) + (isLast && !text.endsWithLineEnd ? "" : end);
  }
  return all;
}

struct StateJson {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(machine::Existing) const { return {{"state", "existing"}}; }
  Json operator()(machine::FileContent const& file) const {
    Json json = {
        {"state", "file"}, {"size", file.size}, {"sha256", file.sha256}, {"isLink", file.isLink}};
    auto const text = file.bytes ? fileText(*file.bytes) : std::nullopt;
    if (!text) return json;
    json["encoding"] = text->encoding;
    json["text"] = linesText(*text);
    return json;
  }
  Json operator()(machine::Shortcut const& shortcut) const {
    return {{"state", "shortcut"},
            {"target", toUtf8(shortcut.target)},
            {"arguments", toUtf8(shortcut.arguments)},
            {"workingFolder", toUtf8(shortcut.workingFolder)},
            {"description", toUtf8(shortcut.description)},
            {"iconFile", toUtf8(shortcut.iconFile)},
            {"iconIndex", shortcut.iconIndex},
            {"window", nameOf(shortcut.window).key},
            {"runAsAdministrator", shortcut.runAsAdministrator},
            {"neverSearchForTarget", shortcut.neverSearchForTarget}};
  }
  Json operator()(machine::RegistryValue const& value) const {
    return {{"state", "registryValue"},
            {"type", registryTypeName(value.type)},
            {"text", toUtf8(registryText(value))},
            {"data", machine::hexadecimal(value.data)}};
  }
  Json operator()(machine::UString const& text) const {
    return {{"state", "variable"}, {"text", toUtf8(text)}};
  }
  Json operator()(machine::TaskDefinition const& task) const {
    return {{"state", "task"},
            {"application", toUtf8(task.application)},
            {"arguments", toUtf8(task.arguments)},
            {"workingFolder", toUtf8(task.workingFolder)},
            {"description", toUtf8(task.description)},
            {"author", toUtf8(task.author)},
            {"startsAtLogon", task.startsAtLogon},
            {"highestRunLevel", task.highestRunLevel},
            {"group", toUtf8(task.group)},
            {"enabled", task.enabled}};
  }
  Json operator()(machine::ServiceCondition const& service) const {
    Json actions = Json::array();
    for (ServiceRecovery::Action const& action : service.definition.recovery.actions) {
      actions.push_back(
          {{"kind", nameOf(action.kind).key}, {"delayMilliseconds", action.delay.count()}});
    }
    return {{"state", "service"},
            {"displayName", toUtf8(service.definition.displayName)},
            {"description", toUtf8(service.definition.description)},
            {"commandLine", toUtf8(service.definition.commandLine)},
            {"start", nameOf(service.definition.start).key},
            {"recovery", actions},
            {"resetAfterSeconds", service.definition.recovery.resetAfter.count()},
            {"runState", nameOf(service.state).key}};
  }
};

Json itemJson(Item const& item) {
  Json json = {{"kind", nameOf(item.kind).key}, {"where", toUtf8(item.where)}};
  if (item.kind == Item::Kind::registryValue) json["value"] = toUtf8(item.value);
  return json;
}

Json givenJson(std::vector<Given> const& given) {
  Json json = Json::object();
  for (Given const& one : given) json[wellFormed(one.name)] = wellFormed(one.text);
  return json;
}

template <typename List>
Json listJson(List const& list) {
  Json json = Json::array();
  for (auto const& element : list) json.push_back(toJson(element));
  return json;
}

Json orNull(std::string const& text) {
  return text.empty() ? Json(nullptr) : Json(wellFormed(text));
}

Json commandJson(std::size_t number, CommandResult const& result) {
  Json json = {{"number", number},
               {"command", wellFormed(result.name)},
               {"arguments", givenJson(result.arguments)},
               {"outcome", nameOf(result.outcome).key},
               {"seconds", inSeconds(result.duration)}};
  json.update(reasonJson(result));
  json["troubles"] = listJson(result.troubles);
  json["messages"] = listJson(result.messages);
  json["changes"] = listJson(result.changes);
  json["handOvers"] = listJson(result.handOvers);
  return json;
}

Json failuresJson(RunReport const& report) {
  Json failures = Json::array();
  for (std::size_t i = 0; i < report.commands.size(); ++i) {
    CommandResult const& result = report.commands[i];
    if (result.outcome != Outcome::failed) continue;
    failures.push_back({{"number", i + 1},
                        {"command", wellFormed(result.name)},
                        {"reason", wellFormed(result.reason)}});
  }
  for (RestoredItem const& item : report.items) {
    if (item.outcome == ItemOutcome::failed) failures.push_back(toJson(item));
  }
  return failures;
}

}  // namespace

std::string wellFormed(std::string_view utf8) {
  return toUtf8(machine::toUtf16(utf8));
}

double inSeconds(std::chrono::steady_clock::duration duration) {
  auto const milliseconds = std::chrono::round<std::chrono::milliseconds>(duration).count();
  return static_cast<double>(milliseconds) / 1000;
}

Json toJson(machine::Change const& change) {
  Json json = itemJson(change.item);
  json["difference"] = differenceName(differenceOf(change));
  json["before"] = std::visit(StateJson{}, change.before);
  json["after"] = std::visit(StateJson{}, change.after);
  return json;
}

Json toJson(machine::HandOver const& handOver) {
  return {{"kind", nameOf(handOver.kind).key},
          {"what", toUtf8(handOver.what)},
          {"arguments", toUtf8(handOver.arguments)}};
}

Json toJson(Message const& message) {
  return {{"text", wellFormed(message.text)}, {"trouble", message.isTrouble}};
}

Json toJson(Trouble const& trouble) {
  return {{"severity", nameOf(trouble.severity).key},
          {"text", wellFormed(trouble.text)},
          {"subject", orNull(trouble.subject)},
          {"logged", trouble.isLogged}};
}

Json reasonJson(CommandResult const& result) {
  Json json = Json::object();
  if (!result.reason.empty()) json["reason"] = wellFormed(result.reason);
  if (!result.decidedBy.empty()) json["decidedBy"] = wellFormed(result.decidedBy);
  return json;
}

Json toJson(RestoredItem const& item) {
  Json json = itemJson(item.item);
  json["outcome"] = nameOf(item.outcome).key;
  if (!item.reason.empty()) json["reason"] = wellFormed(item.reason);
  if (item.change) {
    json["found"] = std::visit(StateJson{}, item.change->before);
    json["before"] = std::visit(StateJson{}, item.change->after);
  }
  return json;
}

Json requestJson(Request const& request) {
  Json json = {{"verb", verbName(request.verb)},
               {"file", wellFormed(request.file)},
               {"simulatedMachine", orNull(request.machine)},
               {"computer", orNull(request.computer)},
               {"started", machine::toIso8601(request.started)},
               {"log", orNull(request.log)},
               {"journal", orNull(request.journal)}};
  if (request.verb == Verb::restore) {
    json["force"] = request.force;
    json["otherComputer"] = request.otherComputer;
    json["otherAccount"] = request.otherAccount;
    json["untrustedJournal"] = orNull(request.untrustedJournal);
  } else {
    json["options"] = givenJson(request.options);
  }
  return json;
}

Json summaryJson(RunReport const& report) {
  Json json = {{"text", headline(report)},
               {"failures", failuresJson(report)},
               {"seconds", inSeconds(report.duration)}};
  Json counts = Json::object();
  if (report.request.verb == Verb::restore) {
    for (auto const outcome : itemOutcomesWorstFirst) {
      counts[std::string(nameOf(outcome).key)] = countOf(report, outcome);
    }
  } else {
    for (auto const outcome : outcomesWorstFirst) {
      counts[std::string(nameOf(outcome).key)] = countOf(report, outcome);
    }
    json["changes"] = changeCount(report);
  }
  json["counts"] = counts;
  json["handOvers"] = handOverCount(report);
  return json;
}

std::string reportJson(RunReport const& report) {
  Json json = {{"report", reportVersion}, {"regplan", REGPLAN_VERSION}};
  json["summary"] = summaryJson(report);
  json["request"] = requestJson(report.request);
  if (report.request.verb == Verb::restore) {
    json["items"] = listJson(report.items);
    json["handOvers"] = listJson(report.handOvers);
    json["damage"] = orNull(report.damage);
  } else {
    Json commands = Json::array();
    for (CommandResult const& result : report.commands) {
      commands.push_back(commandJson(commands.size() + 1, result));
    }
    json["commands"] = commands;
  }
  return json.dump(2) + "\n";
}

}  // namespace regplan
