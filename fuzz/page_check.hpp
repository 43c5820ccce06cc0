#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace fuzz {

/// Takes a report's page apart as a browser does, and ends the process at an element or attribute
/// that the page itself does not use, at one that is not closed, and at a quotation mark or
/// bracket that a text has brought in.
class PageCheck {
 public:
  explicit PageCheck(std::string_view page) : rest_(page) {}

  void check() {
    for (auto begin = rest_.find('<'); begin != rest_.npos; begin = rest_.find('<')) {
      FUZZ_EXPECT(rest_.substr(0, begin).find('>') == rest_.npos);
      rest_.remove_prefix(begin + 1);
      readTag();
    }
    FUZZ_EXPECT(open_.empty());
  }

 private:
  void readTag() {
    if (take("!doctype html>")) return;
    bool const isEnd = take("/");
    auto const name = takeName();
    FUZZ_EXPECT(std::find(elements.begin(), elements.end(), name) != elements.end());
    if (isEnd) {
      FUZZ_EXPECT(take(">") && !open_.empty() && open_.back() == name);
      open_.pop_back();
      return;
    }
    while (take(" ")) readAttribute();
    FUZZ_EXPECT(take(">"));
    if (std::find(childless.begin(), childless.end(), name) == childless.end()) {
      open_.push_back(name);
    }
    if (name == "style" || name == "script") skipRawText(name);
  }

  void readAttribute() {
    auto const name = takeName();
    bool const isKnown = std::find(attributes.begin(), attributes.end(), name) != attributes.end();
    FUZZ_EXPECT(isKnown || name.starts_with("aria-") || name.starts_with("data-"));
    if (!take("=")) return;
    FUZZ_EXPECT(take("\""));
    auto const end = rest_.find('"');
    FUZZ_EXPECT(end != rest_.npos);
    auto const value = rest_.substr(0, end);
    FUZZ_EXPECT(value.find_first_of("<>") == value.npos);
    FUZZ_EXPECT(name != "href" || value.starts_with("#"));
    rest_.remove_prefix(end + 1);
  }

  /// Ends with the first end tag of the name, whatever stands before it.
  void skipRawText(std::string_view name) {
    auto const end = rest_.find("</" + std::string(name));
    FUZZ_EXPECT(end != rest_.npos);
    rest_.remove_prefix(end);
  }

  std::string_view takeName() {
    auto const name = rest_.substr(0, rest_.find_first_of(" =>\""));
    rest_.remove_prefix(name.size());
    return name;
  }

  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  static constexpr auto childless = std::to_array<std::string_view>({"meta", "input", "br", "hr"});
  static constexpr auto elements = std::to_array<std::string_view>(
      {"a",        "article", "b",     "bdi",     "body",  "br",      "button", "caption",
       "code",     "dd",      "del",   "details", "div",   "dl",      "dt",     "em",
       "fieldset", "footer",  "form",  "h1",      "h2",    "h3",      "h4",     "h5",
       "head",     "header",  "hr",    "html",    "input", "ins",     "label",  "legend",
       "li",       "main",    "meta",  "nav",     "ol",    "p",       "pre",    "script",
       "section",  "small",   "span",  "strong",  "style", "summary", "table",  "tbody",
       "td",       "th",      "thead", "title",   "tr",    "ul"});
  static constexpr auto attributes = std::to_array<std::string_view>(
      {"autocomplete", "charset", "checked",    "class",    "colspan", "content", "dir",  "for",
       "hidden",       "href",    "http-equiv", "id",       "lang",    "name",    "open", "role",
       "rowspan",      "scope",   "spellcheck", "tabindex", "type",    "value"});

  std::string_view rest_;
  std::vector<std::string_view> open_;
};

}  // namespace fuzz
