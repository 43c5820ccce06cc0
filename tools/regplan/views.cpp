#include "tools/regplan/views.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "machine/printable.hpp"
#include "tools/regplan/names.hpp"
#include "tools/regplan/report/report_json.hpp"
#include "tools/regplan/report/shown_change.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using Json = nlohmann::ordered_json;
using machine::printable;
using machine::shortened;
using machine::toUtf8;

constexpr std::string_view outcomeIndent = "      ";
constexpr std::string_view messageIndent = "        ";
/// Of a value before or after, in UTF-16 units.
constexpr std::size_t shownValue = 200;

std::string heading(Request const& request, std::size_t commands) {
  std::string text;
  switch (request.verb) {
    case Verb::preview:
      text = "Previewing ";
      break;
    case Verb::run:
      text = "Running ";
      break;
    case Verb::undo:
      text = "Undoing ";
      break;
    case Verb::restore:
      text = "Restoring from ";
      break;
  }
  text += printable(request.file);
  if (request.verb != Verb::restore) text += ", " + counted(commands, "command");
  if (!request.machine.empty()) text += ", on the simulated machine " + printable(request.machine);
  return text;
}

std::string place(std::size_t number, std::size_t total, std::string const& name) {
  return "[" + std::to_string(number) + "/" + std::to_string(total) + "] " + printable(name);
}

std::string outcomeLine(CommandResult const& result) {
  bool const failed = result.outcome == Outcome::failed;
  std::string line = std::string(nameOf(result.outcome).words) + (failed ? " after " : " in ") +
                     formatDuration(result.duration);
  if (!result.reason.empty()) line += ": " + printable(result.reason);
  return line;
}

std::string troubleLine(Trouble const& trouble) {
  return std::string(nameOf(trouble.severity).words) + ": " + printable(trouble.text);
}

/// Whether the command's line is shown.
bool isTold(CommandResult const& result, Detail detail) {
  return detail != Detail::quiet || result.outcome != Outcome::done;
}

std::string handOverLine(machine::HandOver const& handOver) {
  return "hands over to foreign code, whose changes are not listed and not restorable: " +
         printable(toUtf8(handOverText(handOver)));
}

/// What a restore tells at its end.
std::string handedOverLine(machine::HandOver const& handOver) {
  return "not restorable, foreign code: " + printable(toUtf8(handOverText(handOver)));
}

std::string shownState(machine::ItemState const& state) {
  auto const* const file = std::get_if<machine::FileContent>(&state);
  if (file) return (file->isLink ? "link, " : "") + byteCount(file->size);
  return shortened(toUtf8(stateText(state)), shownValue);
}

std::string restoredLine(RestoredItem const& item) {
  std::string line = std::string(nameOf(item.outcome).words) + ": " +
                     std::string(nameOf(item.item.kind).words) + " " +
                     printable(toUtf8(itemName(item.item)));
  if (!item.reason.empty()) line += ": " + printable(item.reason);
  if (item.change && !isPutBack(item.outcome)) {
    line +=
        "; it was " + shownState(item.change->after) + ", it is " + shownState(item.change->before);
  }
  return line;
}

bool isWorthTelling(RestoredItem const& item) {
  return isLeft(item.outcome) || item.outcome == ItemOutcome::failed;
}

bool showsChanges(bool isPreview, Detail detail) {
  return detail == Detail::verbose || (isPreview && detail == Detail::normal);
}

std::string listedEntries(std::vector<machine::UString> const& entries,
                          std::vector<machine::UString> const& others, std::string_view what) {
  std::string text;
  for (machine::UString const& entry : entries) {
    if (entry.empty() || std::ranges::find(others, entry) != others.end()) continue;
    text +=
        (text.empty() ? "" : ", ") + std::string(what) + " " + shortened(toUtf8(entry), shownValue);
  }
  return text;
}

/// The entries that a list has gained and lost; empty when those are not what changed.
std::string changedEntries(machine::Change const& change) {
  if (differenceOf(change) != Difference::changed) return {};
  auto const list = listChange(change);
  if (!list) return {};
  std::string const added = listedEntries(list->after, list->before, "adds");
  std::string const removed = listedEntries(list->before, list->after, "removes");
  return added + (added.empty() || removed.empty() ? "" : ", ") + removed;
}

std::string valueChange(machine::Change const& change) {
  if (std::holds_alternative<machine::Existing>(change.before) ||
      std::holds_alternative<machine::Existing>(change.after)) {
    return {};
  }
  switch (differenceOf(change)) {
    case Difference::added:
      return ": " + shownState(change.after);
    case Difference::removed:
      return ": " + shownState(change.before);
    case Difference::changed:
      break;
  }
  std::string const entries = changedEntries(change);
  if (!entries.empty()) return ": " + entries;
  std::string const before = shownState(change.before);
  std::string const after = shownState(change.after);
  // What a file or a task is told by may be what stayed.
  return ": " + (before == after ? "other content, " + after : before + " -> " + after);
}

}  // namespace

std::string changeLine(machine::Change const& change) {
  Difference const difference = differenceOf(change);
  std::string const sign = difference == Difference::added     ? "+ "
                           : difference == Difference::removed ? "- "
                                                               : "~ ";
  return sign + std::string(nameOf(change.item.kind).words) + " " +
         printable(toUtf8(itemName(change.item))) + valueChange(change);
}

void View::waiting(std::chrono::seconds limit) {
  note("Waiting for another run, undo or restore to end, at most " +
       counted(static_cast<std::size_t>(limit.count()), "second"));
}

// Plain lines

void PlainView::begin(Request const& request, std::size_t commands) {
  isPreview_ = request.verb == Verb::preview;
  if (detail_ != Detail::quiet) output_ << heading(request, commands) << std::endl;
}

void PlainView::note(std::string const& text) {
  if (detail_ != Detail::quiet) output_ << text << std::endl;
}

void PlainView::started(std::size_t number, std::size_t total, std::string const& name) {
  current_ = place(number, total, name);
  if (detail_ != Detail::quiet) output_ << "\n" << current_ << std::endl;
}

void PlainView::message(Message const& message) {
  // In a preview a command's "Successfully done" is not true.
  bool const isTold = isPreview_ ? detail_ == Detail::verbose || message.isTrouble : true;
  if (isTold && detail_ != Detail::quiet)
    output_ << messageIndent << printable(message.text) << std::endl;
}

void PlainView::trouble(Trouble const& trouble) {
  if (!trouble.isLogged && detail_ != Detail::quiet) {
    output_ << messageIndent << troubleLine(trouble) << std::endl;
  }
}

void PlainView::handingOver(machine::HandOver const& handOver) {
  if (showsChanges(isPreview_, detail_)) {
    output_ << messageIndent << handOverLine(handOver) << std::endl;
  }
}

void PlainView::finished(CommandResult const& result) {
  if (detail_ == Detail::quiet) {
    if (!isTold(result, detail_)) return;
    output_ << current_ << ": " << outcomeLine(result) << std::endl;
    for (Trouble const& trouble : result.troubles) {
      output_ << messageIndent << troubleLine(trouble) << std::endl;
    }
    return;
  }
  output_ << outcomeIndent << outcomeLine(result) << std::endl;
  if (!showsChanges(isPreview_, detail_)) return;
  for (machine::Change const& change : result.changes) {
    output_ << messageIndent << changeLine(change) << std::endl;
  }
}

void PlainView::restored(RestoredItem const& item) {
  if (detail_ != Detail::quiet || isWorthTelling(item)) {
    output_ << "  " << restoredLine(item) << std::endl;
  }
}

void PlainView::end(RunReport const& report) {
  for (machine::HandOver const& handOver : report.handOvers) {
    output_ << "  " << handedOverLine(handOver) << std::endl;
  }
  if (detail_ != Detail::quiet) output_ << "\n";
  output_ << summary(report) << std::endl;
}

// A terminal

namespace {

/// SGR sequences of ECMA-48.
constexpr std::string_view colourOf(Tone tone) {
  switch (tone) {
    case Tone::good:
      return "\x1B[32m";
    case Tone::idle:
      return {};
    case Tone::noted:
      return "\x1B[36m";
    case Tone::doubtful:
      return "\x1B[33m";
    case Tone::bad:
      break;
  }
  return "\x1B[31m";
}
constexpr std::string_view noColour = "\x1B[0m";

/// As wide as the longest outcome.
std::string stateColumn(Outcome outcome) {
  std::string text(nameOf(outcome).words);
  text.resize(nameOf(Outcome::doneWithProblems).words.size(), ' ');
  return text;
}

std::string rightAligned(std::string const& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

constexpr std::string_view detailIndent = "                                ";

}  // namespace

void TerminalView::line(std::string const& text) {
  bool const wasLive = isLive_;
  eraseLive();
  output_ << text << "\n";
  if (wasLive) drawLive();
  output_ << std::flush;
}

/// Two lines, the cursor at the end of the second. No longer than the terminal is wide, so that
/// each takes one row.
void TerminalView::drawLive() {
  std::size_t const width = terminal_.columns > 1 ? terminal_.columns - 1 : 1;
  output_ << ("  running             " + running_).substr(0, width) << "\n"
          << bar().substr(0, width);
  isLive_ = true;
}

void TerminalView::eraseLive() {
  if (isLive_) output_ << "\r\x1B[K\x1B[1A\r\x1B[K";
  isLive_ = false;
}

std::string TerminalView::coloured(Tone tone, std::string const& text) const {
  std::string_view const colour = colourOf(tone);
  if (!terminal_.colours || colour.empty()) return text;
  return std::string(colour) + text + std::string(noColour);
}

std::string TerminalView::bar() const {
  std::string const count = " " + std::to_string(done_) + " of " + std::to_string(total_);
  std::size_t const room = std::min<std::size_t>(terminal_.columns, 60);
  std::size_t const width = room > count.size() + 16 ? room - count.size() - 6 : 10;
  std::size_t const filled = total_ == 0 ? width : width * done_ / total_;
  return "  [" + std::string(filled, '#') + std::string(width - filled, '.') + "]" + count;
}

void TerminalView::begin(Request const& request, std::size_t commands) {
  isPreview_ = request.verb == Verb::preview;
  total_ = commands;
  if (detail_ != Detail::quiet) line(heading(request, commands));
}

void TerminalView::note(std::string const& text) {
  if (detail_ != Detail::quiet) line(text);
}

void TerminalView::started(std::size_t, std::size_t total, std::string const& name) {
  total_ = total;
  running_ = printable(name);
  eraseLive();
  drawLive();
  output_ << std::flush;
}

void TerminalView::message(Message const& message) {
  if (detail_ == Detail::quiet || (detail_ == Detail::normal && !message.isTrouble)) return;
  std::string const text = printable(message.text);
  details_.push_back(message.isTrouble ? coloured(Tone::doubtful, text) : text);
}

void TerminalView::trouble(Trouble const& trouble) {
  // Without the log's lines, the trouble stands for them.
  if (trouble.isLogged && detail_ != Detail::quiet) return;
  details_.push_back(coloured(Tone::doubtful, troubleLine(trouble)));
}

void TerminalView::handingOver(machine::HandOver const& handOver) {
  if (showsChanges(isPreview_, detail_))
    details_.push_back(coloured(Tone::noted, handOverLine(handOver)));
}

void TerminalView::finished(CommandResult const& result) {
  ++done_;
  Tone const tone = toneOf(result.outcome);
  if (isTold(result, detail_)) {
    line("  " + coloured(tone, stateColumn(result.outcome)) + " " +
         rightAligned(formatDuration(result.duration), 10) + " " + printable(result.name));
  }
  if (!result.reason.empty()) details_.push_back(coloured(tone, printable(result.reason)));
  if (showsChanges(isPreview_, detail_)) {
    for (machine::Change const& change : result.changes) details_.push_back(changeLine(change));
  }
  for (std::string const& detail : std::exchange(details_, {})) {
    line(std::string(detailIndent) + detail);
  }
}

void TerminalView::restored(RestoredItem const& item) {
  if (detail_ == Detail::quiet && !isWorthTelling(item)) return;
  line("  " + coloured(toneOf(item.outcome), restoredLine(item)));
}

void TerminalView::end(RunReport const& report) {
  eraseLive();
  for (machine::HandOver const& handOver : report.handOvers) {
    line("  " + coloured(Tone::doubtful, handedOverLine(handOver)));
  }
  std::string const text = summary(report);
  if (detail_ != Detail::quiet) output_ << "\n";
  output_ << (hasFailures(report) ? coloured(Tone::bad, text) : text) << std::endl;
}

// Events

namespace {

/// In ASCII: nothing in a text can end the line or command a terminal.
void write(std::ostream& output, Json const& event) {
  output << event.dump(-1, ' ', true) << std::endl;
}

}  // namespace

void EventView::waiting(std::chrono::seconds limit) {
  write(output_, {{"event", "waiting"}, {"limitSeconds", limit.count()}});
}

void EventView::begin(Request const&, std::size_t) {}

void EventView::note(std::string const& text) {
  errors_ << text << std::endl;
}

void EventView::started(std::size_t number, std::size_t total, std::string const& name) {
  number_ = number;
  write(
      output_,
      {{"event", "started"}, {"number", number}, {"total", total}, {"command", wellFormed(name)}});
}

void EventView::message(Message const& message) {
  write(output_, {{"event", "message"}, {"number", number_}, {"message", toJson(message)}});
}

void EventView::trouble(Trouble const& trouble) {
  write(output_, {{"event", "trouble"}, {"number", number_}, {"trouble", toJson(trouble)}});
}

void EventView::handingOver(machine::HandOver const& handOver) {
  write(output_, {{"event", "handOver"}, {"number", number_}, {"handOver", toJson(handOver)}});
}

void EventView::finished(CommandResult const& result) {
  for (machine::Change const& change : result.changes) {
    write(output_, {{"event", "change"}, {"number", number_}, {"change", toJson(change)}});
  }
  Json event = {{"event", "finished"},
                {"number", number_},
                {"command", wellFormed(result.name)},
                {"outcome", nameOf(result.outcome).key},
                {"seconds", inSeconds(result.duration)}};
  event.update(reasonJson(result));
  write(output_, event);
}

void EventView::restored(RestoredItem const& item) {
  write(output_, {{"event", "restored"}, {"item", toJson(item)}});
}

void EventView::end(RunReport const& report) {
  for (machine::HandOver const& handOver : report.handOvers) {
    write(output_, {{"event", "handOver"}, {"handOver", toJson(handOver)}});
  }
  write(output_, {{"event", "summary"},
                  {"request", requestJson(report.request)},
                  {"summary", summaryJson(report)}});
}

void EventView::refused(int exitCode, std::vector<std::string> const& reasons) {
  Json texts = Json::array();
  for (std::string const& reason : reasons) texts.push_back(wellFormed(reason));
  write(output_, {{"event", "refused"}, {"exitCode", exitCode}, {"reasons", texts}});
}

}  // namespace regplan
