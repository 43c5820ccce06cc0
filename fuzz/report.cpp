#include <fuzzer/FuzzedDataProvider.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "fuzz/fuzz.hpp"
#include "fuzz/page_check.hpp"
#include "fuzz/texts.hpp"
#include "tools/regplan/report/html.hpp"
#include "tools/regplan/report/report_json.hpp"
#include "tools/regplan/report/report_page.hpp"
#include "tools/regplan/views.hpp"

namespace {

using namespace regplan;
using machine::Change;
using machine::HandOver;
using machine::Item;
using machine::ItemState;
using machine::UString;

/// Makes a report whose every text and number somebody else has chosen.
class HostileReport {
 public:
  explicit HostileReport(std::string_view input)
      : input_(reinterpret_cast<std::uint8_t const*>(input.data()), input.size()) {}

  RunReport make() {
    RunReport report{request()};
    report.duration = std::chrono::milliseconds(number<std::uint32_t>());
    if (report.request.verb == Verb::restore) {
      report.items = some<RestoredItem>([&] { return restoredItem(); });
      report.handOvers = some<HandOver>([&] { return handOver(); });
      report.damage = text();
    } else {
      report.commands = some<CommandResult>([&] { return command(); });
    }
    return report;
  }

 private:
  std::string text() { return input_.ConsumeRandomLengthString(48); }
  /// As UTF-16 what is no UTF-16, too.
  UString units() { return truth() ? machine::toUtf16(text()) : fuzz::unitsOf(text()); }
  bool truth() { return input_.ConsumeBool(); }
  template <class Number>
  Number number() {
    return input_.ConsumeIntegral<Number>();
  }
  template <class Kind>
  Kind oneOf(int count) {
    return static_cast<Kind>(input_.ConsumeIntegralInRange(0, count - 1));
  }
  template <class Element, class Make>
  std::vector<Element> some(Make const& make) {
    std::vector<Element> elements(input_.ConsumeIntegralInRange<std::size_t>(0, 3));
    for (auto& element : elements) element = make();
    return elements;
  }

  Given given() { return {text(), text()}; }

  Request request() {
    Request asked;
    asked.verb = oneOf<Verb>(4);
    asked.file = text();
    asked.machine = text();
    asked.computer = text();
    asked.log = text();
    asked.journal = text();
    asked.force = truth();
    asked.options = some<Given>([&] { return given(); });
    return asked;
  }

  CommandResult command() {
    CommandResult result;
    result.name = text();
    result.outcome = oneOf<Outcome>(5);
    result.duration = std::chrono::milliseconds(number<std::uint32_t>());
    result.reason = text();
    result.decidedBy = text();
    result.arguments = some<Given>([&] { return given(); });
    result.messages = some<Message>([&] { return Message{text(), truth()}; });
    result.troubles = some<Trouble>([&] { return trouble(); });
    result.changes = some<Change>([&] { return change(); });
    result.handOvers = some<HandOver>([&] { return handOver(); });
    return result;
  }

  Trouble trouble() {
    auto const severity = truth() ? Trouble::Severity::error : Trouble::Severity::warning;
    return {severity, text(), text(), truth()};
  }

  HandOver handOver() { return {oneOf<HandOver::Kind>(4), units(), units()}; }

  RestoredItem restoredItem() {
    RestoredItem restored;
    restored.item = item();
    restored.outcome = oneOf<RestoredItem::Outcome>(6);
    restored.reason = text();
    if (truth()) {
      restored.change = Change{restored.item, state(restored.item.kind), state(restored.item.kind)};
    }
    return restored;
  }

  Change change() {
    Item const changed = item();
    return {changed, state(changed.kind), state(changed.kind)};
  }

  Item item() {
    Item item{oneOf<Item::Kind>(9), units(), {}};
    bool const isValue = item.kind == Item::Kind::registryValue;
    if (isValue) item.value = units();
    if (isValue || item.kind == Item::Kind::registryKey) {
      item.where.insert(0, u"HKEY_LOCAL_MACHINE\\");
    }
    return item;
  }

  ItemState state(Item::Kind kind) {
    if (truth()) return {};
    switch (kind) {
      case Item::Kind::file:
      case Item::Kind::folder:
      case Item::Kind::shortcut:
        return truth() ? ItemState(fileContent()) : ItemState(shortcut());
      case Item::Kind::registryKey:
      case Item::Kind::taskFolder:
        return machine::Existing{};
      case Item::Kind::registryValue:
        return machine::RegistryValue{oneOf<machine::RegistryType>(13), text()};
      case Item::Kind::variable:
        return units();
      case Item::Kind::task:
        return task();
      case Item::Kind::service:
        return service();
    }
    return {};
  }

  machine::FileContent fileContent() {
    machine::FileContent content;
    content.size = number<std::uint64_t>();
    content.sha256 = std::string(64, 'a');
    if (truth()) content.bytes = text();
    content.isLink = truth();
    return content;
  }

  machine::Shortcut shortcut() {
    machine::Shortcut link;
    for (auto* const text :
         {&link.target, &link.arguments, &link.workingFolder, &link.description, &link.iconFile}) {
      *text = units();
    }
    link.iconIndex = number<std::int32_t>();
    return link;
  }

  machine::TaskDefinition task() {
    return {units(), units(), units(), units(), units(), truth(), truth(), units(), truth()};
  }

  machine::ServiceCondition service() {
    machine::ServiceCondition condition;
    condition.definition.displayName = units();
    condition.definition.description = units();
    condition.definition.commandLine = units();
    condition.definition.start = static_cast<machine::ServiceStart>(number<std::uint32_t>());
    condition.definition.recovery.actions = {
        {static_cast<machine::ServiceRecovery::Kind>(number<std::uint32_t>()),
         std::chrono::milliseconds(number<std::uint32_t>())}};
    condition.state = static_cast<machine::ServiceState>(number<std::uint32_t>());
    return condition;
  }

  FuzzedDataProvider input_;
};

/// Takes the first text between the two away and gives it.
std::string take(std::string& page, std::string_view begin, std::string_view end) {
  auto const from = page.find(begin);
  FUZZ_EXPECT(from != page.npos);
  auto const to = page.find(end, from + begin.size());
  FUZZ_EXPECT(to != page.npos);
  std::string const taken = page.substr(from + begin.size(), to - from - begin.size());
  page.erase(from + begin.size(), taken.size());
  return taken;
}

/// The parts of a page that let something run: always the same.
struct Active {
  std::string style;
  std::string script;
  std::string policy;

  bool operator==(Active const&) const = default;
};

Active takeActive(std::string& page) {
  return {take(page, "<style>", "</style>"), take(page, "<script>", "</script>"),
          take(page, "Content-Security-Policy\" content=\"", "\">")};
}

Active activeOfAnEmptyReport() {
  std::string page = reportPage({});
  Active const active = takeActive(page);
  FUZZ_EXPECT(active.policy.starts_with("default-src 'none'; "));
  FUZZ_EXPECT(active.policy.find(html::policyHash(active.style)) != active.policy.npos);
  FUZZ_EXPECT(active.policy.find(html::policyHash(active.script)) != active.policy.npos);
  return active;
}

void checkPage(RunReport const& report) {
  static Active const active = activeOfAnEmptyReport();
  std::string page = reportPage(report);
  FUZZ_EXPECT(takeActive(page) == active);
  FUZZ_EXPECT(fuzz::isWellFormed(page));
  FUZZ_EXPECT(page.find('\x1B') == page.npos && page.find('\0') == page.npos);
  FUZZ_EXPECT(page.find("\xE2\x80\xAE") == page.npos);  // U+202E turns the writing round
  fuzz::PageCheck(page).check();
}

void checkJson(RunReport const& report) {
  auto const document = nlohmann::json::parse(reportJson(report));
  FUZZ_EXPECT(document.at("report") == reportVersion);
  FUZZ_EXPECT(document.contains("summary"));
}

void show(View& view, RunReport const& report) {
  view.begin(report.request, report.commands.size());
  std::size_t number = 0;
  for (CommandResult const& result : report.commands) {
    view.started(++number, report.commands.size(), result.name);
    for (Message const& message : result.messages) view.message(message);
    for (Trouble const& trouble : result.troubles) view.trouble(trouble);
    for (HandOver const& handOver : result.handOvers) view.handingOver(handOver);
    view.finished(result);
  }
  for (RestoredItem const& item : report.items) view.restored(item);
  view.end(report);
}

void checkViews(RunReport const& report) {
  std::ostringstream plain;
  PlainView people(plain, Detail::verbose);
  show(people, report);
  std::ostringstream events;
  EventView programs(events, plain);
  show(programs, report);
  std::string const shown = plain.str();
  for (std::string_view rest = shown; !rest.empty();) {
    FUZZ_EXPECT(fuzz::isPrintable(fuzz::takeLine(rest)));
  }
  std::string const told = events.str();
  for (std::string_view rest = told; !rest.empty();) {
    FUZZ_EXPECT(nlohmann::json::accept(fuzz::takeLine(rest)));
  }
}

}  // namespace

void fuzz::run(std::string_view input) {
  constexpr std::size_t longest = 512;  // of more a page becomes slow
  RunReport const report = HostileReport(input.substr(0, longest)).make();
  checkPage(report);
  checkJson(report);
  checkViews(report);
}
