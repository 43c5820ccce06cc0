#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "tests/tools/regplan/golden.hpp"
#include "tests/tools/regplan/sample_reports.hpp"
#include "tools/regplan/report/change_page.hpp"
#include "tools/regplan/report/html.hpp"
#include "tools/regplan/report/page/page.hpp"
#include "tools/regplan/report/report_file.hpp"
#include "tools/regplan/report/report_json.hpp"
#include "tools/regplan/report/report_page.hpp"
#include "tools/regplan/report/report_schema.hpp"
#include "tools/regplan/views.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using machine::Change;
using machine::Existing;
using machine::FileContent;
using machine::Item;
using machine::RegistryType;
using machine::RegistryValue;
using machine::UString;
using testing::HasSubstr;
using testing::Not;
using valijson::adapters::NlohmannJsonAdapter;

std::vector<RunReport> everySample() {
  return {samples::failingRun(), samples::hostileRun(), samples::restore(), samples::preview()};
}

/// What the schema finds wrong; empty when nothing.
std::string faultsOf(std::string const& schemaText, Json const& document) {
  valijson::Schema schema;
  Json const parsed = Json::parse(schemaText);
  valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(parsed), schema);
  valijson::ValidationResults results;
  valijson::Validator().validate(schema, NlohmannJsonAdapter(document), &results);
  std::string text;
  for (valijson::ValidationResults::Error error; results.popError(error);) {
    for (std::string const& place : error.context) text += place;
    text += ": " + error.description + "\n";
  }
  return text;
}

// The model

TEST(Headline, SaysTheWorstFirst) {
  EXPECT_EQ(headline(samples::failingRun()), "1 of 8 commands failed");
  EXPECT_EQ(headline(samples::hostileRun()), "The command failed");
  EXPECT_EQ(headline(samples::preview()), "2 of 5 commands hand over to foreign code");
  EXPECT_EQ(headline(samples::restore()), "1 of 7 items could not be restored");
  RunReport report = samples::failingRun();
  report.commands.erase(report.commands.begin() + 5);
  EXPECT_EQ(headline(report), "1 of 7 commands reported problems");
  report.commands.erase(report.commands.begin() + 4);
  EXPECT_EQ(headline(report), "5 of 6 commands done, nothing to do for 1");
  report.commands.pop_back();
  EXPECT_EQ(headline(report), "All 5 commands done");
  report.commands.assign(2, samples::failingRun().commands.back());
  EXPECT_EQ(headline(report), "Nothing to do for 2 commands");
  report.commands.clear();
  EXPECT_EQ(headline(report), "Nothing to do");
}

TEST(Headline, OfARestoreTellsWhatWasLeft) {
  RunReport report = samples::restore();
  report.items.pop_back();
  EXPECT_EQ(headline(report), "2 of 6 items left as they are");
  report.items.resize(2);
  EXPECT_EQ(headline(report), "The journal is not whole: 2 items are as before the run");
  report.damage.clear();
  EXPECT_EQ(headline(report), "All 2 items are as before the run");
  report.items.clear();
  EXPECT_EQ(headline(report), "Nothing to restore");
}

TEST(Summary, OfARestoreCountsItems) {
  EXPECT_EQ(summary(samples::restore()),
            "7 items: 1 failed, 1 not restorable, 1 left as it is, 1 restored by force, "
            "2 restored, 1 already as before, in 0.212 s; the journal is not whole");
}

// JSON

TEST(ReportSchema, AreTheCommittedFiles) {
  golden::expectFile(REPORT_SCHEMA, reportSchema());
  golden::expectFile(EVENT_SCHEMA, eventSchema());
}

TEST(ReportSchema, TakesEveryReport) {
  for (RunReport const& report : everySample()) {
    EXPECT_EQ(faultsOf(reportSchema(), Json::parse(reportJson(report))), "");
  }
}

TEST(ReportSchema, RefusesWhatNoReportHas) {
  Json const good = Json::parse(reportJson(samples::failingRun()));
  for (auto const& place : {"/report", "/summary/failures", "/commands/0/outcome",
                            "/commands/0/changes/0/before", "/request/verb"}) {
    Json bad = good;
    bad[Json::json_pointer(place)] = 99;
    EXPECT_NE(faultsOf(reportSchema(), bad), "") << place;
  }
  Json more = good;
  more["commands"][0]["unknown"] = true;
  EXPECT_NE(faultsOf(reportSchema(), more), "");
}

TEST(ReportJson, PutsFailuresFirst) {
  auto const report = nlohmann::ordered_json::parse(reportJson(samples::failingRun()));
  EXPECT_EQ(report["summary"]["failures"].size(), 1U);
  EXPECT_EQ(report["summary"]["failures"][0]["command"], "BrantixServiceHostSetupCommand");
  auto const names = report.items();
  EXPECT_EQ((++ ++names.begin()).key(), "summary");
}

TEST(ReportJson, HasTheTextOfShortTextFilesOnly) {
  auto const report = Json::parse(reportJson(samples::failingRun()));
  auto const& changes = report["commands"][0]["changes"];
  EXPECT_EQ(changes[0]["after"]["encoding"], "UTF-8");
  EXPECT_THAT(changes[0]["after"]["text"].get<std::string>(), HasSubstr("toolbox/general\n"));
  EXPECT_FALSE(changes[1]["after"].contains("text"));
}

// The page

TEST(ReportPage, AdmitsItsOwnStyleAndScriptOnly) {
  std::string const page = reportPage(samples::failingRun());
  EXPECT_THAT(page, HasSubstr("default-src 'none'; style-src " + html::policyHash(page::style()) +
                              "; script-src " + html::policyHash(page::script()) + ";"));
  EXPECT_THAT(page, HasSubstr("<style>" + std::string(page::style()) + "</style>"));
  EXPECT_THAT(page, HasSubstr("<script>" + std::string(page::script()) + "</script>"));
  EXPECT_THAT(page, Not(HasSubstr("http:")));
  EXPECT_THAT(page, Not(HasSubstr("https:")));
}

std::size_t countOf(std::string const& text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(ReportPage, NoTextBecomesAnElement) {
  std::string const page = reportPage(samples::hostileRun());
  EXPECT_EQ(countOf(page, "<script"), 1U);
  EXPECT_EQ(countOf(page, "</title"), 1U);
  EXPECT_EQ(countOf(page, "<img"), 0U);
  EXPECT_EQ(countOf(page, "<b>Name"), 0U);
  EXPECT_EQ(page.find('\x1B'), std::string::npos);
  EXPECT_EQ(page.find("\xE2\x80\xAE"), std::string::npos) << "a right-to-left override";
}

TEST(ReportPage, EveryElementThatOpensCloses) {
  for (RunReport const& report : everySample()) {
    std::string const page = reportPage(report);
    for (std::string const tag : {"ul", "ol", "li", "div", "p", "details", "article", "section",
                                  "span", "code", "table", "dl", "h2", "h3", "h4", "main"}) {
      EXPECT_EQ(countOf(page, "<" + tag + ">") + countOf(page, "<" + tag + " "),
                countOf(page, "</" + tag + ">"))
          << tag;
    }
  }
}

TEST(ReportPage, TheSummaryLinksFailuresBeforeProblems) {
  std::string const page = reportPage(samples::failingRun());
  auto const failed = page.find("href=\"#command-6\"");
  auto const problems = page.find("href=\"#command-5\"");
  auto const commands = page.find("id=\"command-1\"");
  EXPECT_LT(failed, problems);
  EXPECT_LT(problems, commands);
}

Change change(Item::Kind kind, UString where, machine::ItemState before, machine::ItemState after,
              UString value = {}) {
  return {{kind, std::move(where), std::move(value)}, std::move(before), std::move(after)};
}

std::string htmlOf(std::vector<Change> const& changes) {
  return changesHtml(changes);
}

FileContent fileOf(std::string bytes) {
  return {bytes.size(), std::string(64, '0'), std::move(bytes), false};
}

TEST(ChangesHtml, APathValueIsAListWithTheNewEntryMarked) {
  std::string const html = htmlOf({change(
      Item::Kind::registryValue, u"HKEY_LOCAL_MACHINE\\Environment",
      RegistryValue::ofText(u"C:\\a;C:\\b", RegistryType::expandableString),
      RegistryValue::ofText(u"C:\\a;C:\\new;C:\\b", RegistryType::expandableString), u"Path")});
  EXPECT_EQ(countOf(html, "<li class=\"row kept\">"), 2U);
  EXPECT_EQ(countOf(html, "<li class=\"row added\">"), 1U);
  EXPECT_THAT(html, HasSubstr("<ins>C:\\new</ins>"));
  EXPECT_THAT(html, HasSubstr("REG_EXPAND_SZ"));
}

TEST(ChangesHtml, ATextWithoutListIsToldBeforeAndAfter) {
  std::string const html =
      htmlOf({change(Item::Kind::variable, u"TEMP", UString(u"C:\\old"), UString(u"C:\\new"))});
  EXPECT_LT(html.find("<del>C:\\old</del>"), html.find("<ins>C:\\new</ins>"));
}

TEST(ChangesHtml, TheRegistryIsOneTree) {
  UString const key = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix";
  std::string const html = htmlOf(
      {change(Item::Kind::registryKey, key + u"\\One", {}, Existing{}),
       change(Item::Kind::registryValue, key + u"\\One", {}, RegistryValue::ofDword(1), u"Level"),
       change(Item::Kind::folder, u"C:\\x", {}, Existing{}),
       change(Item::Kind::registryValue, u"HKEY_LOCAL_MACHINE\\software\\brantix\\Two", {},
              RegistryValue::ofText(u"text"))});
  EXPECT_EQ(countOf(html, "class=\"tree\""), 1U);
  EXPECT_EQ(countOf(html, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix</code>"), 1U);
  EXPECT_EQ(countOf(html, "brantix"), 0U) << "names are compared without regard to case";
  EXPECT_THAT(html, HasSubstr(">One</code>"));
  EXPECT_THAT(html, HasSubstr(">Two</code>"));
  EXPECT_THAT(html, HasSubstr("1 (0x00000001)"));
  EXPECT_THAT(html, HasSubstr("REG_DWORD"));
  EXPECT_THAT(html, HasSubstr(">(default)</code>"));
}

TEST(ChangesHtml, KeysOfAnyDepthStayShallow) {
  UString key = u"HKEY_USERS";
  std::vector<Change> changes;
  for (int i = 0; i < 400; ++i) {
    key += u"\\k";
    changes.push_back(change(Item::Kind::registryKey, key, {}, Existing{}));
  }
  EXPECT_LT(countOf(htmlOf(changes), "<ul"), 25U);
}

TEST(ChangesHtml, ATypeThatChangedIsTold) {
  std::string const html =
      htmlOf({change(Item::Kind::registryValue, u"HKEY_USERS", RegistryValue::ofText(u"1"),
                     RegistryValue::ofDword(1), u"v")});
  EXPECT_THAT(html, HasSubstr("REG_SZ \u2192 REG_DWORD"));
}

TEST(ChangesHtml, TextFilesAreALineDiffWithContext) {
  std::string before;
  for (int i = 1; i <= 40; ++i) before += "line " + std::to_string(i) + "\n";
  std::string after = before;
  after.replace(after.find("line 20"), 7, "other");
  std::string const html =
      htmlOf({change(Item::Kind::file, u"C:\\f", fileOf(before), fileOf(after))});
  EXPECT_THAT(html, HasSubstr("<del>line 20</del>"));
  EXPECT_THAT(html, HasSubstr("<ins>other</ins>"));
  EXPECT_EQ(countOf(html, "<details"), 2U);
  EXPECT_THAT(html, HasSubstr("16 unchanged lines"));
  EXPECT_THAT(html, HasSubstr("17 unchanged lines"));
  EXPECT_THAT(html, HasSubstr("UTF-8, LF"));
}

TEST(ChangesHtml, OfALongDifferenceThePageTakesInALimitedPart) {
  std::string many;
  for (int i = 0; i < 20000; ++i) many += std::to_string(i) + "\n";
  std::string const html = htmlOf({change(Item::Kind::file, u"C:\\f", {}, fileOf(many))});
  EXPECT_EQ(countOf(html, "row added"), 5000U);
  EXPECT_THAT(html, HasSubstr("What follows is not shown."));
}

TEST(ChangesHtml, AnotherEncodingIsTold) {
  using namespace std::string_literals;
  std::string const html = htmlOf({change(Item::Kind::file, u"C:\\f", fileOf("a\r\n"),
                                          fileOf("\xFF\xFE"
                                                 "a\0\n\0"s))});
  EXPECT_THAT(html, HasSubstr("3 bytes, UTF-8, CRLF \u2192 6 bytes, UTF-16 LE, LF"));
}

TEST(ChangesHtml, BinaryFilesAreToldBySizeAndHash) {
  FileContent const large{12'345, std::string(64, 'a'), std::nullopt, false};
  std::string const html = htmlOf({change(Item::Kind::file, u"C:\\f", fileOf("MZ\x01"), large)});
  EXPECT_THAT(html, HasSubstr("<del>3 bytes, SHA-256 " + std::string(64, '0')));
  EXPECT_THAT(html, HasSubstr("<ins>12,345 bytes, SHA-256 " + std::string(64, 'a')));
}

TEST(ChangesHtml, PropertiesThatChangedAreMarked) {
  machine::TaskDefinition before;
  before.application = u"C:\\a.exe";
  machine::TaskDefinition after = before;
  after.enabled = false;
  std::string const html = htmlOf({change(Item::Kind::task, u"T", before, after)});
  EXPECT_EQ(countOf(html, "<tr class=\"changed\">"), 1U);
  EXPECT_THAT(html, HasSubstr("<th scope=\"row\">Enabled <span class=\"mark changed\">"));
  EXPECT_THAT(html, HasSubstr("<del>yes</del>"));
}

// Files

class ReportFiles : public testing::Test {
 protected:
  ReportFiles() { fs::create_directories(folder_); }
  ~ReportFiles() override { fs::remove_all(folder_); }

  std::string path(std::string const& name) const {
    auto const text = (folder_ / name).u8string();
    return {text.begin(), text.end()};
  }
  std::size_t fileCount() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

 private:
  fs::path const folder_ =
      fs::temp_directory_path() / ("regplan-report-" + std::to_string(std::random_device()()));
};

TEST_F(ReportFiles, ArePagesOrJsonByTheirNames) {
  ReportFile(path("a.HTML")).write(samples::restore());
  ReportFile(path("b.json")).write(samples::restore());
  EXPECT_EQ(golden::readBytes(path("a.HTML")), reportPage(samples::restore()));
  EXPECT_EQ(golden::readBytes(path("b.json")), reportJson(samples::restore()));
  EXPECT_EQ(fileCount(), 2U);
  EXPECT_THROW(ReportFile(path("c.txt")), std::runtime_error);
  EXPECT_THROW(ReportFile(path("json")), std::runtime_error);
}

TEST_F(ReportFiles, ThatCannotBeMadeAreRefusedAtOnce) {
  EXPECT_THROW(ReportFile(path("missing/a.html")), std::runtime_error);
  fs::create_directory(path("folder.html"));
  EXPECT_THROW(ReportFile(path("folder.html")), std::runtime_error);
}

TEST_F(ReportFiles, WhatIsThereStaysUntilTheReportIsWhole) {
  golden::writeBytes(path("a.html"), "before");
  {
    ReportFile const file(path("a.html"));
    EXPECT_EQ(golden::readBytes(path("a.html")), "before");
  }
  EXPECT_EQ(golden::readBytes(path("a.html")), "before");
  EXPECT_EQ(fileCount(), 1U);
  ReportFile(path("a.html")).write(samples::preview());
  EXPECT_EQ(golden::readBytes(path("a.html")), reportPage(samples::preview()));
}

#if !defined(_WIN32)
TEST_F(ReportFiles, FollowNoLinkThatSomebodyPlanted) {
  golden::writeBytes(path("victim"), "precious");
  fs::create_symlink(path("victim"), path("a.html.tmp"));
  fs::create_symlink(path("victim"), path("a.html"));
  ReportFile(path("a.html")).write(samples::preview());
  EXPECT_EQ(golden::readBytes(path("victim")), "precious");
  EXPECT_FALSE(fs::is_symlink(path("a.html")));
}
#endif

// Views

void show(View& view, RunReport const& report) {
  view.begin(report.request, report.commands.size());
  view.note("Log: C:\\log");
  for (std::size_t i = 0; i < report.commands.size(); ++i) {
    CommandResult const& result = report.commands[i];
    view.started(i + 1, report.commands.size(), result.name);
    for (Trouble const& trouble : result.troubles) view.trouble(trouble);
    for (Message const& message : result.messages) view.message(message);
    for (machine::HandOver const& handOver : result.handOvers) view.handingOver(handOver);
    view.finished(result);
  }
  for (RestoredItem const& item : report.items) view.restored(item);
  view.end(report);
}

std::string plain(RunReport const& report, Detail detail) {
  std::ostringstream output;
  PlainView view(output, detail);
  show(view, report);
  return output.str();
}

TEST(PlainViews, QuietShowsWhatIsNotPlainlyDoneAndTheSummary) {
  EXPECT_EQ(plain(samples::failingRun(), Detail::quiet),
            "[5/8] CreateDesktopShortcuts: done with problems in 0.018 s\n"
            "        problem: Unable to create desktop shortcut for helper.exe: write shortcut "
            "C:\\Users\\Public\\Desktop\\Helper.lnk: Access is denied. (5)\n"
            "        warning: tools\\helper.exe is not absolute\n"
            "[6/8] BrantixServiceHostSetupCommand: failed after 30.004 s: start service "
            "BrantixServiceHost: The service did not respond to the start request in a timely "
            "fashion. (1053)\n"
            "[8/8] CreateStartMenuShortcuts: nothing to do in 0.000 s: "
            "isStartMenuShortcutRequested is false\n"
            "8 commands: 1 failed, 1 done with problems, 1 nothing to do, 5 done, in 31.694 s\n");
}

TEST(PlainViews, OfARunShowsChangesOnlyWhenVerbose) {
  EXPECT_THAT(plain(samples::failingRun(), Detail::normal), Not(HasSubstr("  ~ ")));
  std::string const verbose = plain(samples::failingRun(), Detail::verbose);
  EXPECT_THAT(verbose, HasSubstr("        ~ file C:\\Program Files\\Vortan\\R1\\cache.bin: "
                                 "52,428,800 bytes -> 52,430,102 bytes\n"));
  EXPECT_THAT(verbose, HasSubstr("Session Manager\\Environment\\Path: adds C:\\Program "
                                 "Files\\Vortan\\R1\\bin\n"));
  EXPECT_THAT(verbose, HasSubstr("hands over to foreign code, whose changes are not listed and not "
                                 "restorable: module fileassoc.dll SetAssociations\n"));
}

TEST(PlainViews, OfAPreviewShowsWhatWouldChange) {
  std::string const shown = plain(samples::preview(), Detail::normal);
  EXPECT_THAT(shown, HasSubstr("        + registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\n"));
  EXPECT_THAT(shown, HasSubstr("      hands over in 0.233 s\n"));
}

TEST(PlainViews, OfAPreviewShowNoMessageThatTellsOfSuccess) {
  RunReport report = samples::preview();
  report.commands.at(0).messages = {{"Successfully set it"}, {"Failed to set it", true}};
  std::string const shown = plain(report, Detail::normal);
  EXPECT_THAT(shown, Not(HasSubstr("Successfully set it")));
  EXPECT_THAT(shown, HasSubstr("Failed to set it"));
  EXPECT_THAT(plain(report, Detail::verbose), HasSubstr("Successfully set it"));
}

TEST(PlainViews, OfARestoreTellWhatForeignCodeWasNotTakenBack) {
  RunReport report = samples::restore();
  report.handOvers = {{machine::HandOver::Kind::program, u"C:\\tool.exe", u"-i"}};
  for (Detail const detail : {Detail::quiet, Detail::normal}) {
    EXPECT_THAT(plain(report, detail),
                HasSubstr("  not restorable, foreign code: program C:\\tool.exe -i\n"));
  }
}

TEST(PlainViews, NoTextObeysTheTerminal) {
  for (Detail const detail : {Detail::quiet, Detail::verbose}) {
    EXPECT_EQ(plain(samples::hostileRun(), detail).find('\x1B'), std::string::npos);
  }
}

std::string onTerminal(RunReport const& report, Detail detail, bool colours = false,
                       std::size_t columns = 40) {
  std::ostringstream output;
  TerminalView view(output, {true, colours, columns}, detail);
  show(view, report);
  return output.str();
}

/// What is left to see on a terminal: the last line's cells after \r, and rows wiped by ESC[K
/// ESC[1A.
std::string screen(std::string const& output) {
  std::vector<std::string> rows = {""};
  for (std::size_t i = 0; i < output.size(); ++i) {
    if (output.compare(i, 3, "\x1B[K") == 0) {
      rows.back().clear();
      i += 2;
    } else if (output.compare(i, 4, "\x1B[1A") == 0) {
      rows.pop_back();
      i += 3;
    } else if (output[i] == '\n') {
      rows.emplace_back();
    } else if (output[i] != '\r') {
      rows.back() += output[i];
    }
  }
  std::string text;
  for (std::string const& row : rows) text += row + "\n";
  return text;
}

TEST(TerminalViews, LeaveALineForEachCommand) {
  std::string const shown = screen(onTerminal(samples::preview(), Detail::normal));
  EXPECT_THAT(shown, HasSubstr("  done                  0.041 s AddVTPathEntriesToMetadataFile\n"));
  EXPECT_THAT(shown, HasSubstr("  hands over            0.233 s SetFileAssociations\n"));
  EXPECT_THAT(shown, Not(HasSubstr("running")));
  EXPECT_THAT(shown, Not(HasSubstr("[#")));
}

TEST(TerminalViews, DetailsStandBelowTheirCommand) {
  std::string const shown = screen(onTerminal(samples::preview(), Detail::normal));
  auto const command = shown.find("SetFileAssociations\n");
  auto const detail = shown.find("hands over to foreign code, whose changes");
  ASSERT_NE(detail, std::string::npos);
  EXPECT_LT(command, detail);
}

TEST(TerminalViews, ShowHowFarItIs) {
  std::string const output = onTerminal(samples::failingRun(), Detail::normal, false, 30);
  EXPECT_THAT(output, HasSubstr("  [.................] 0 of 8\r"));
  EXPECT_THAT(output, HasSubstr("] 3 of 8"));
}

TEST(TerminalViews, LiveLinesNeverWrap) {
  std::string const output = onTerminal(samples::failingRun(), Detail::quiet, false, 12);
  EXPECT_THAT(output, HasSubstr("  running  \n  [........\r"));
  EXPECT_THAT(output, Not(HasSubstr("  running   ")));
}

TEST(TerminalViews, ShowTroubleAndReasonsWithoutBeingAsked) {
  std::string const shown = screen(onTerminal(samples::failingRun(), Detail::normal));
  EXPECT_THAT(shown, HasSubstr("  Unable to create desktop shortcut for helper.exe\n"));
  EXPECT_THAT(shown, HasSubstr("did not respond to the start request"));
  EXPECT_THAT(shown, Not(HasSubstr("Creating desktop shortcut")));
  EXPECT_THAT(screen(onTerminal(samples::failingRun(), Detail::verbose)),
              HasSubstr("Creating desktop shortcut"));
}

TEST(TerminalViews, AreColouredOnlyWhereAsked) {
  EXPECT_THAT(onTerminal(samples::failingRun(), Detail::normal, true),
              HasSubstr("  \x1B[31mfailed            \x1B[0m"));
  EXPECT_THAT(onTerminal(samples::failingRun(), Detail::normal, false), Not(HasSubstr("\x1B[3")));
}

TEST(EventViews, WriteEventsThatTheSchemaTakesAndNothingElse) {
  for (RunReport const& report : everySample()) {
    std::ostringstream output;
    std::ostringstream errors;
    EventView view(output, errors);
    show(view, report);
    EXPECT_EQ(errors.str(), "Log: C:\\log\n");
    std::istringstream lines(output.str());
    Json event;
    for (std::string line; std::getline(lines, line);) {
      event = Json::parse(line);
      EXPECT_EQ(faultsOf(eventSchema(), event), "") << line;
      EXPECT_TRUE(std::ranges::all_of(line, [](char c) { return c >= 0x20 && c < 0x7F; }));
    }
    EXPECT_EQ(event["event"], "summary");
  }
}

RunReport runOf(std::string const& command) {
  RunReport report = samples::failingRun();
  report.commands.resize(1);
  report.commands[0].name = command;
  return report;
}

TEST(Views, ShowTheNameOfACommandAsFitToPrint) {
  auto const report = runOf("a\x1B[2J\xFF");
  std::string const name = "a\\u001B[2J\xEF\xBF\xBD";
  EXPECT_THAT(plain(report, Detail::normal), HasSubstr("[1/1] " + name));
  EXPECT_THAT(onTerminal(report, Detail::normal), HasSubstr(name));
  EXPECT_THAT(onTerminal(report, Detail::normal), Not(HasSubstr("[2J\xFF")));
}

TEST(EventViews, TellANameThatIsNoUtf8) {
  RunReport const report = runOf("a\xFF");
  std::ostringstream output;
  std::ostringstream errors;
  EventView view(output, errors);
  show(view, report);
  EXPECT_THAT(output.str(), HasSubstr("\"command\":\"a\\ufffd\""));
}

}  // namespace
}  // namespace regplan
