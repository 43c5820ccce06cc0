#include "tools/regplan/report/report_page.hpp"

#include <array>
#include <set>
#include <vector>

#include "tools/regplan/names.hpp"
#include "tools/regplan/report/change_page.hpp"
#include "tools/regplan/report/html.hpp"
#include "tools/regplan/report/page/page.hpp"
#include "tools/regplan/report/page_parts.hpp"
#include "tools/regplan/report/shown_change.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using html::element;

/// How an outcome looks. The page says it in words too.
struct Look {
  std::string_view name;  ///< for the style
  std::string_view glyph;
};

constexpr Look lookOf(Tone tone) {
  switch (tone) {
    case Tone::good:
      return {"good", "\xE2\x9C\x93"};
    case Tone::idle:
      return {"idle", "\xE2\x80\x93"};
    case Tone::noted:
      return {"noted", "\xE2\x86\x97"};
    case Tone::doubtful:
      return {"doubtful", "!"};
    case Tone::bad:
      break;
  }
  return {"bad", "\xE2\x9C\x95"};
}

template <typename AnyOutcome>
Look lookOf(AnyOutcome outcome) {
  return lookOf(toneOf(outcome));
}

bool isRestore(RunReport const& report) {
  return report.request.verb == Verb::restore;
}

Look lookOf(RunReport const& report) {
  for (auto const outcome : outcomesWorstFirst) {
    if (countOf(report, outcome) > 0) return lookOf(outcome);
  }
  for (auto const outcome : itemOutcomesWorstFirst) {
    bool const isGood = outcome == ItemOutcome::restored || outcome == ItemOutcome::already;
    if (isGood && !report.damage.empty()) return lookOf(ItemOutcome::left);
    if (countOf(report, outcome) > 0) return lookOf(outcome);
  }
  return lookOf(Tone::good);
}

template <typename AnyOutcome>
std::string badge(AnyOutcome outcome) {
  Look const look = lookOf(outcome);
  return element("span", classes("badge " + std::string(look.name)),
                 element("span", " aria-hidden=\"true\"", look.glyph) + " " +
                     std::string(nameOf(outcome).words));
}

std::string paragraph(std::string_view names, std::string_view inner) {
  return element("p", names.empty() ? "" : classes(names), inner);
}

std::string commandId(std::size_t number) {
  return "command-" + std::to_string(number);
}

std::string time(std::chrono::steady_clock::duration duration) {
  return element("span", classes("time"), formatDuration(duration));
}

/// "2026-11-21 08:30:00 UTC".
std::string startText(std::chrono::system_clock::time_point start) {
  std::string const iso = machine::toIso8601(start);
  return iso.substr(0, 10) + " " + iso.substr(11, 8) + " UTC";
}

// The top

std::string machineText(Request const& request) {
  if (!request.machine.empty()) return "simulated machine " + request.machine;
  return request.computer.empty() ? "this computer" : request.computer;
}

std::string headerHtml(RunReport const& report) {
  Request const& request = report.request;
  Look const look = lookOf(report);
  std::string const verdict =
      element("span", " aria-hidden=\"true\"", look.glyph) + " " + headline(report);
  return paragraph("eyebrow", "regplan " REGPLAN_VERSION) +
         element("h1", "",
                 std::string(verbTitle(request.verb)) + " of " +
                     element("bdi", "", html::text(request.file))) +
         paragraph("verdict " + std::string(look.name), verdict) +
         paragraph("when", startText(request.started) + ", on " +
                               element("bdi", "", html::text(machineText(request))) + ", " +
                               formatDuration(report.duration));
}

// The summary

template <typename Outcomes>
std::string outcomeTiles(RunReport const& report, Outcomes const& outcomes) {
  std::string tiles;
  for (auto const outcome : outcomes) {
    std::size_t const count = countOf(report, outcome);
    if (count == 0) continue;
    tiles +=
        element("li", classes("tile " + std::string(lookOf(outcome).name)),
                element("b", "", std::to_string(count)) + " " + std::string(nameOf(outcome).words));
  }
  return tiles;
}

std::string plainTile(std::size_t count, std::string_view noun) {
  std::string const text = counted(count, noun);
  return element("li", classes("tile"),
                 element("b", "", std::to_string(count)) + text.substr(text.find(' ')));
}

std::string firstTrouble(CommandResult const& result) {
  return result.troubles.empty() ? "" : result.troubles.front().text;
}

std::string commandLinks(RunReport const& report, Outcome outcome) {
  std::string list;
  for (std::size_t i = 0; i < report.commands.size(); ++i) {
    CommandResult const& result = report.commands[i];
    if (result.outcome != outcome) continue;
    std::string const reason = outcome == Outcome::failed ? result.reason : firstTrouble(result);
    list += element("li", classes(lookOf(outcome).name),
                    badge(outcome) + " " +
                        element("a", " href=\"#" + commandId(i + 1) + "\"",
                                std::to_string(i + 1) + ". " + html::text(result.name)) +
                        paragraph("reason", html::text(reason)));
  }
  return list;
}

std::string worstHtml(RunReport const& report) {
  std::string const list =
      commandLinks(report, Outcome::failed) + commandLinks(report, Outcome::doneWithProblems);
  if (list.empty()) return {};
  return element("h3", "", countOf(report, Outcome::failed) > 0 ? "What failed" : "Problems") +
         element("ul", classes("worst"), list);
}

std::string handOverList(std::vector<machine::HandOver> const& handOvers) {
  std::string list;
  for (machine::HandOver const& handOver : handOvers) {
    std::string line = std::string(nameOf(handOver.kind).words) + " " + codeHtml(handOver.what);
    if (!handOver.arguments.empty()) line += " " + codeHtml(handOver.arguments);
    list += element("li", "", line);
  }
  return element("ul", classes("handovers"), list);
}

std::string handOverSummary(RunReport const& report) {
  std::size_t const count = handOverCount(report);
  if (count == 0) return {};
  std::string const where = isRestore(report) ? "" : " The commands below name each.";
  return element("div", classes("note"),
                 element("h3", "", "Foreign code") +
                     paragraph("", counted(count, "hand-over") + " " + std::string(handOverNote) +
                                       "." + where) +
                     (isRestore(report) ? handOverList(report.handOvers) : ""));
}

std::string damageHtml(RunReport const& report) {
  if (report.damage.empty()) return {};
  return element(
      "div", classes("note"),
      element("h3", "", "The journal is not whole") +
          paragraph("", "What follows in it is not restored: " + html::text(report.damage)));
}

std::string summaryHtml(RunReport const& report) {
  std::string tiles = isRestore(report) ? outcomeTiles(report, itemOutcomesWorstFirst)
                                        : outcomeTiles(report, outcomesWorstFirst);
  if (!isRestore(report)) tiles += plainTile(changeCount(report), "change");
  if (handOverCount(report) > 0) tiles += plainTile(handOverCount(report), "hand-over");
  return element("h2", " id=\"summary-title\"", "Summary") +
         element("ul", classes("tiles"), tiles) + damageHtml(report) + worstHtml(report) +
         handOverSummary(report);
}

// What was asked

std::string fact(std::string_view name, std::string_view inner) {
  return element("div", "", element("dt", "", name) + element("dd", "", inner));
}

std::string givenHtml(std::vector<Given> const& given) {
  std::string list;
  for (Given const& one : given) {
    list +=
        fact(html::text(one.name), one.text.empty() ? element("span", classes("empty"), "(empty)")
                                                    : codeHtml(machine::toUtf16(one.text)));
  }
  return element("dl", classes("facts-list"), list);
}

std::string fileFact(std::string_view name, std::string const& file, std::string_view otherwise) {
  return fact(name, file.empty() ? std::string(otherwise) : codeHtml(machine::toUtf16(file)));
}

std::string askedHtml(RunReport const& report) {
  Request const& request = report.request;
  std::string facts = fact("Verb", verbName(request.verb));
  facts += fileFact(isRestore(report) ? "Journal" : "Plan", request.file, "");
  facts += fact("Machine", element("bdi", "", html::text(machineText(request))));
  facts += fact("Started", startText(request.started));
  if (request.verb != Verb::preview) facts += fileFact("Log", request.log, "none");
  if (isRestore(report)) {
    facts += fact("Force", request.force ? "yes: also what was changed since" : "no");
    if (request.otherComputer) facts += fact("Other computer", "yes: also another one's journal");
    if (request.otherAccount) facts += fact("Other account", "yes: also another one's journal");
    if (!request.untrustedJournal.empty()) {
      facts +=
          fact("Untrusted journal", "taken all the same: " + html::text(request.untrustedJournal));
    }
  } else if (request.verb != Verb::preview) {
    facts += fileFact("Journal", request.journal, "none");
  }
  facts += fact("Made by", "regplan " REGPLAN_VERSION);
  std::string result = element("h2", " id=\"asked-title\"", "What was asked") +
                       element("dl", classes("facts-list"), facts);
  if (request.options.empty()) return result;
  return result + element("h3", "", "Options of the plan") + givenHtml(request.options);
}

// Filters

std::string chip(std::string_view name, std::string_view value, std::string_view label,
                 std::size_t count) {
  std::string const input = "<input type=\"checkbox\" name=\"" + std::string(name) + "\" value=\"" +
                            std::string(value) + "\">";
  return element("label", classes("chip"),
                 input + " " + std::string(label) + " " +
                     element("span", classes("count"), std::to_string(count)));
}

template <typename Outcomes>
std::string outcomeChips(RunReport const& report, Outcomes const& outcomes) {
  std::string chips;
  for (auto const outcome : outcomes) {
    std::size_t const count = countOf(report, outcome);
    if (count == 0) continue;
    std::string const name(nameOf(outcome).words);
    chips += chip("outcome", name, name, count);
  }
  return chips;
}

std::string kindChips(RunReport const& report) {
  std::array<std::size_t, 7> counts{};
  auto const count = [&counts](machine::Item const& item) {
    ++counts.at(static_cast<std::size_t>(groupOf(item.kind)));
  };
  for (CommandResult const& result : report.commands) {
    for (machine::Change const& change : result.changes) count(change.item);
  }
  for (RestoredItem const& item : report.items) count(item.item);
  std::string chips;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    std::string_view const name = groupName(static_cast<Group>(i));
    if (counts.at(i) > 0) chips += chip("kind", lowerCase(name), name, counts.at(i));
  }
  return chips;
}

std::string fieldset(std::string_view legend, std::string const& chips) {
  if (chips.empty()) return {};
  return element("fieldset", "",
                 element("legend", "", legend) + element("div", classes("chips"), chips));
}

std::string filtersHtml(RunReport const& report) {
  return fieldset("Outcome", isRestore(report) ? outcomeChips(report, itemOutcomesWorstFirst)
                                               : outcomeChips(report, outcomesWorstFirst)) +
         fieldset(isRestore(report) ? "Kind of item" : "Kind of change", kindChips(report));
}

// The commands

std::string logHtml(CommandResult const& result) {
  if (result.messages.empty()) return {};
  std::string lines;
  for (Message const& message : result.messages) {
    std::string const flag =
        message.isTrouble ? element("span", classes("flag"), "problem") + " " : "";
    lines +=
        element("li", message.isTrouble ? classes("trouble") : "", flag + html::text(message.text));
  }
  bool const isOpen =
      result.outcome == Outcome::failed || result.outcome == Outcome::doneWithProblems;
  return element("details", classes("fold log") + (isOpen ? " open" : ""),
                 element("summary", "", "Log: " + counted(result.messages.size(), "line")) +
                     element("ol", "", lines));
}

/// What the log does not tell.
std::string troublesHtml(CommandResult const& result) {
  std::string lines;
  for (Trouble const& trouble : result.troubles) {
    if (trouble.isLogged) continue;
    lines += element("li", classes("trouble"),
                     element("span", classes("flag"), nameOf(trouble.severity).words) + " " +
                         html::text(trouble.text));
  }
  return lines.empty() ? "" : element("ul", classes("troubles"), lines);
}

std::string argumentsHtml(CommandResult const& result) {
  if (result.arguments.empty()) return {};
  return element("details", classes("fold"),
                 element("summary", "", counted(result.arguments.size(), "argument")) +
                     givenHtml(result.arguments));
}

std::string handOversHtml(CommandResult const& result) {
  if (result.handOvers.empty()) return {};
  return element("div", classes("note"),
                 element("h4", "", "Foreign code") +
                     paragraph("", "This command hands over " + std::string(handOverNote) + ".") +
                     handOverList(result.handOvers));
}

std::string changesOf(CommandResult const& result, Verb verb) {
  std::string const title = verb == Verb::preview ? "Would change" : "Changes";
  if (result.changes.empty()) {
    return paragraph("none", result.handOvers.empty() ? "No changes." : "No changes of its own.");
  }
  return element("h4", "",
                 title + " " +
                     element("span", classes("count"), std::to_string(result.changes.size()))) +
         changesHtml(result.changes);
}

std::string commandHtml(std::size_t number, CommandResult const& result, Verb verb) {
  std::string const id = commandId(number);
  std::string const title =
      element("h3", " id=\"" + id + "-title\"",
              element("span", classes("number"), std::to_string(number) + ".") + " " +
                  html::text(result.name));
  std::string const head = element(
      "div", classes("head"),
      title + element("p", classes("state"), badge(result.outcome) + " " + time(result.duration)));
  std::string const reason =
      result.reason.empty() ? "" : paragraph("reason", html::text(result.reason));
  std::string const attributes = classes("unit card " + std::string(lookOf(result.outcome).name)) +
                                 " id=\"" + id + "\" aria-labelledby=\"" + id +
                                 "-title\" tabindex=\"-1\" data-outcome=\"" +
                                 std::string(nameOf(result.outcome).words) + "\"";
  return element("article", attributes,
                 head + reason + troublesHtml(result) + logHtml(result) + argumentsHtml(result) +
                     handOversHtml(result) + changesOf(result, verb));
}

std::string commandsHtml(RunReport const& report) {
  std::string cards;
  for (std::size_t i = 0; i < report.commands.size(); ++i) {
    cards += commandHtml(i + 1, report.commands[i], report.request.verb);
  }
  return cards.empty() ? paragraph("none", "The plan has no commands.") : cards;
}

// The items of a restore

std::string restoredHtml(RestoredItem const& item) {
  std::string const attributes =
      classes("unit change restored " + std::string(lookOf(item.outcome).name)) +
      " data-outcome=\"" + std::string(nameOf(item.outcome).words) + "\" data-kind=\"" +
      lowerCase(groupName(groupOf(item.item.kind))) + "\"";
  std::string line = badge(item.outcome) + " " +
                     element("span", classes("kind"), nameOf(item.item.kind).words) + " " +
                     itemHtml(item.item);
  line = paragraph("item", line);
  if (!item.reason.empty()) line += paragraph("reason", html::text(item.reason));
  if (item.change && isPutBack(item.outcome)) {
    line += changeBodyHtml(*item.change);
  } else if (item.change) {
    line += paragraph("reason", html::text(u"It was: " + stateText(item.change->after))) +
            paragraph("reason", html::text(u"It is: " + stateText(item.change->before)));
  }
  return element("li", attributes, line);
}

std::string itemsHtml(RunReport const& report) {
  std::string list;
  for (auto const outcome : itemOutcomesWorstFirst) {
    for (RestoredItem const& item : report.items) {
      if (item.outcome == outcome) list += restoredHtml(item);
    }
  }
  return list.empty() ? paragraph("none", "The journal names no items.")
                      : element("ul", classes("changes card"), list);
}

std::string titleText(RunReport const& report) {
  return html::bareText(headline(report) + " - " + std::string(verbName(report.request.verb)) +
                        " of " + report.request.file);
}

}  // namespace

std::string reportPage(RunReport const& report) {
  std::string const policy = "default-src 'none'; style-src " + html::policyHash(page::style()) +
                             "; script-src " + html::policyHash(page::script()) +
                             "; base-uri 'none'; form-action 'none'";
  return html::filled(page::pattern(),
                      {{"policy", policy},
                       {"title", titleText(report)},
                       {"style", page::style()},
                       {"script", page::script()},
                       {"header", headerHtml(report)},
                       {"summary", summaryHtml(report)},
                       {"asked", askedHtml(report)},
                       {"filters", filtersHtml(report)},
                       {"units", isRestore(report) ? "items" : "commands"},
                       {"details-title", isRestore(report) ? "Items" : "Commands"},
                       {"details", isRestore(report) ? itemsHtml(report) : commandsHtml(report)}});
}

}  // namespace regplan
