#include "tools/regplan/report/change_page.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "tools/regplan/names.hpp"
#include "tools/regplan/report/file_text.hpp"
#include "tools/regplan/report/html.hpp"
#include "tools/regplan/report/page_parts.hpp"
#include "tools/regplan/report/sequence_diff.hpp"
#include "tools/regplan/report/shown_change.hpp"
#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using html::element;
using machine::Change;
using machine::FileContent;
using machine::Item;
using machine::ItemState;
using machine::UString;

/// Kept lines around a difference that stay in view.
constexpr std::size_t contextLines = 3;
/// Of a long difference, the rows in view before it is to be opened; and all that a page takes in.
constexpr std::size_t rowsInView = 60;
constexpr std::size_t mostRows = 5000;
constexpr std::size_t longestLine = 2000;

std::string folded(std::string_view title, std::string_view inner) {
  return element("details", classes("fold"), element("summary", "", title) + std::string(inner));
}

/// "+ added".
std::string mark(Difference difference) {
  std::string_view const sign = difference == Difference::added     ? "+"
                                : difference == Difference::removed ? "\xE2\x88\x92"
                                                                    : "~";
  std::string const name(differenceName(difference));
  return element("span", classes("mark " + name),
                 element("span", " aria-hidden=\"true\"", sign) + " " + name);
}

// What was before and what is now: one row each, with a sign and words for who does not see
// colours.

std::string signedRow(std::string_view tag, std::string_view kind, std::string_view sign,
                      std::string_view spoken, std::string_view inner) {
  std::string const content = element("span", classes("sign") + " aria-hidden=\"true\"", sign) +
                              element("span", classes("text"), unseen(spoken) + std::string(inner));
  return element(tag, classes(kind), content);
}

std::string removedRow(std::string_view tag, std::string_view inner) {
  return signedRow(tag, "row removed", "\xE2\x88\x92", "removed: ", element("del", "", inner));
}

std::string addedRow(std::string_view tag, std::string_view inner) {
  return signedRow(tag, "row added", "+", "added: ", element("ins", "", inner));
}

std::string keptRow(std::string_view tag, std::string_view inner) {
  return signedRow(tag, "row kept", "", "", inner);
}

std::string emptyText(std::string_view what) {
  return element("span", classes("empty"), what);
}

std::string valueText(UString const& text) {
  return text.empty() ? emptyText("(empty)") : html::text(text);
}

/// The one value of what is new or gone, or both values of what changed.
std::string beforeAndAfter(std::optional<UString> const& before,
                           std::optional<UString> const& after) {
  std::string rows;
  if (before) rows += removedRow("div", valueText(*before));
  if (after) rows += addedRow("div", valueText(*after));
  return element("div", classes("values"), rows);
}

std::optional<UString> textIfAny(ItemState const& state) {
  if (std::holds_alternative<std::monostate>(state)) return std::nullopt;
  return stateText(state);
}

// Differences of lists and of files' lines

class DiffRows {
 public:
  DiffRows(std::vector<UString> const& before, std::vector<UString> const& after)
      : before_(before), after_(after), edits_(sequenceDiff(before, after)) {}

  std::string html() {
    for (std::size_t i = 0; i < edits_.size() && made_ < mostRows;) {
      std::size_t const end = endOfRun(i);
      addRun(i, end);
      i = end;
    }
    std::string all = inView_ + (folded_.empty() ? "" : listed(foldedTitle(), folded_));
    if (made_ >= mostRows) all += keptRow("li", emptyText("What follows is not shown."));
    return element("ul", classes("diff"), all);
  }

 private:
  using Kind = Edit::Kind;

  std::size_t endOfRun(std::size_t begin) const {
    std::size_t end = begin;
    while (end < edits_.size() &&
           (edits_[end].kind == Kind::keep) == (edits_[begin].kind == Kind::keep)) {
      ++end;
    }
    return end;
  }

  void addRun(std::size_t begin, std::size_t end) {
    if (edits_[begin].kind != Kind::keep) return add(begin, end);
    std::size_t const head = begin == 0 ? 0 : contextLines;
    std::size_t const tail = end == edits_.size() ? 0 : contextLines;
    // A fold takes a line itself.
    if (end - begin <= head + tail + 2) return add(begin, end);
    add(begin, begin + head);
    addFold(begin + head, end - tail);
    add(end - tail, end);
  }

  void add(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end && made_ < mostRows; ++i, ++made_) append(row(edits_[i]));
  }

  void addFold(std::size_t begin, std::size_t end) {
    std::string rows;
    for (std::size_t i = begin; i < end && made_ < mostRows; ++i, ++made_) rows += row(edits_[i]);
    append(listed(counted(end - begin, "unchanged line"), rows));
  }

  void append(std::string const& row) {
    (rows_ < rowsInView ? inView_ : folded_) += row;
    ++rows_;
  }

  static std::string listed(std::string_view title, std::string_view rows) {
    return element("li", classes("folded"), folded(title, element("ul", classes("diff"), rows)));
  }

  std::string foldedTitle() const { return counted(rows_ - rowsInView, "more row"); }

  std::string row(Edit const& edit) const {
    UString const& line = edit.kind == Kind::remove ? before_[edit.line] : after_[edit.line];
    std::string const text = line.empty() ? emptyText("(empty)") : html::text(line, longestLine);
    switch (edit.kind) {
      case Kind::remove:
        return removedRow("li", text);
      case Kind::add:
        return addedRow("li", text);
      case Kind::keep:
        break;
    }
    return keptRow("li", text);
  }

  std::vector<UString> const& before_;
  std::vector<UString> const& after_;
  std::vector<Edit> edits_;
  std::string inView_;
  std::string folded_;
  std::size_t made_ = 0;  ///< lines, also in folds
  std::size_t rows_ = 0;  ///< a fold of unchanged lines is one
};

// Files

struct ShownFile {
  FileContent const* content = nullptr;  ///< none: there is no file
  std::optional<FileText> text;
};

ShownFile shownFile(ItemState const& state) {
  auto const* const content = std::get_if<FileContent>(&state);
  ShownFile file{content, std::nullopt};
  if (content && content->bytes && !content->isLink) file.text = fileText(*content->bytes);
  return file;
}

std::string fileFacts(ShownFile const& file) {
  if (!file.content) return "none";
  std::string facts = byteCount(file.content->size);
  if (!file.text) return facts;
  facts += ", " + file.text->encoding;
  if (!file.text->lineEnds.empty()) facts += ", " + file.text->lineEnds;
  if (!file.text->endsWithLineEnd) facts += ", no line end at the end";
  return facts;
}

std::string factsLine(ShownFile const& before, ShownFile const& after) {
  std::string facts = fileFacts(after);
  if (!after.content) facts = fileFacts(before);
  if (before.content && after.content && fileFacts(before) != fileFacts(after)) {
    facts = fileFacts(before) + " \xE2\x86\x92 " + fileFacts(after);
  }
  return element("p", classes("facts"), facts);
}

/// nullopt where one of the two is no text or too large to be shown.
std::optional<std::string> lineDiff(Change const& change) {
  ShownFile const before = shownFile(change.before);
  ShownFile const after = shownFile(change.after);
  auto const isShowable = [](ShownFile const& file) { return !file.content || file.text; };
  if ((!before.content && !after.content) || !isShowable(before) || !isShowable(after)) {
    return std::nullopt;
  }
  static std::vector<UString> const none;
  std::string const rows =
      DiffRows(before.text ? before.text->lines : none, after.text ? after.text->lines : none)
          .html();
  return factsLine(before, after) + rows;
}

// Shortcuts, tasks, services

std::string propertyRow(std::string_view name, std::optional<UString> const& before,
                        std::optional<UString> const& after) {
  bool const isChanged = before && after && *before != *after;
  std::string const header = std::string(name) + (isChanged ? " " + mark(Difference::changed) : "");
  std::string const value =
      isChanged ? beforeAndAfter(before, after) : valueText(after ? *after : *before);
  return element("tr", isChanged ? classes("changed") : "",
                 element("th", " scope=\"row\"", header) + element("td", "", value));
}

std::string propertyTable(Change const& change) {
  Properties const before = propertiesOf(change.before);
  Properties const after = propertiesOf(change.after);
  std::string rows;
  for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
    auto const valueOf = [i](Properties const& properties) {
      return properties.empty() ? std::nullopt : std::optional(properties[i].second);
    };
    rows += propertyRow((after.empty() ? before : after)[i].first, valueOf(before), valueOf(after));
  }
  return element("table", classes("properties"), element("tbody", "", rows));
}

bool haveProperties(Change const& change) {
  auto const fits = [](ItemState const& state) {
    return std::holds_alternative<std::monostate>(state) || !propertiesOf(state).empty();
  };
  return fits(change.before) && fits(change.after);
}

std::string bodyHtml(Change const& change) {
  auto const isExistence = [](ItemState const& state) {
    return std::holds_alternative<std::monostate>(state) ||
           std::holds_alternative<machine::Existing>(state);
  };
  if (isExistence(change.before) && isExistence(change.after)) return {};
  if (auto const list = listChange(change)) return DiffRows(list->before, list->after).html();
  if (haveProperties(change)) return propertyTable(change);
  if (auto diff = lineDiff(change)) return *std::move(diff);
  return beforeAndAfter(textIfAny(change.before), textIfAny(change.after));
}

std::string changeAttributes(Item const& item, std::string_view names) {
  return classes(names) + " data-kind=\"" + lowerCase(groupName(groupOf(item.kind))) + "\"";
}

std::string changeHtml(Change const& change) {
  std::string const title = mark(differenceOf(change)) + " " +
                            element("span", classes("kind"), nameOf(change.item.kind).words) + " " +
                            itemHtml(change.item);
  return element("li", changeAttributes(change.item, "change"),
                 element("p", classes("item"), title) + bodyHtml(change));
}

// The registry

struct KeyNode {
  UString name;
  Change const* own = nullptr;  ///< the key itself was made or removed
  std::vector<Change const*> values;
  std::vector<KeyNode> subkeys;
};

/// Deeper keys are told in one line: nobody reads them nested, and browsers limit how deep a page
/// goes.
constexpr std::size_t deepestKey = 20;

std::vector<UString> keyNames(std::u16string_view path) {
  std::vector<UString> names;
  for (;;) {
    std::size_t const end =
        names.size() + 1 < deepestKey ? path.find(u'\\') : std::u16string_view::npos;
    names.emplace_back(path.substr(0, end));
    if (end == std::u16string_view::npos) return names;
    path.remove_prefix(end + 1);
  }
}

KeyNode& keyBelow(KeyNode& node, UString const& name) {
  auto const found = std::ranges::find_if(
      node.subkeys, [&](KeyNode const& key) { return machine::equalIgnoringCase(key.name, name); });
  if (found != node.subkeys.end()) return *found;
  node.subkeys.push_back({name, nullptr, {}, {}});
  return node.subkeys.back();
}

void addTo(KeyNode& root, Change const& change) {
  KeyNode* node = &root;
  for (UString const& name : keyNames(change.item.where)) node = &keyBelow(*node, name);
  if (change.item.kind == Item::Kind::registryKey) {
    node->own = &change;
  } else {
    node->values.push_back(&change);
  }
}

std::string typeName(ItemState const& state) {
  auto const* const value = std::get_if<machine::RegistryValue>(&state);
  return value ? registryTypeName(value->type) : "";
}

/// "REG_SZ", or "REG_SZ → REG_EXPAND_SZ".
std::string typeText(Change const& change) {
  std::string before = typeName(change.before);
  std::string after = typeName(change.after);
  if (before.empty() || before == after) return after;
  return after.empty() ? before : before + " \xE2\x86\x92 " + after;
}

std::optional<UString> dataText(ItemState const& state) {
  auto const* const value = std::get_if<machine::RegistryValue>(&state);
  return value ? std::optional(registryText(*value)) : std::nullopt;
}

std::string valueHtml(Change const& change) {
  std::string const title = mark(differenceOf(change)) + " " + codeHtml(valueName(change.item)) +
                            " " + element("span", classes("type"), typeText(change));
  auto const list = listChange(change);
  std::string const body = list ? DiffRows(list->before, list->after).html()
                                : beforeAndAfter(dataText(change.before), dataText(change.after));
  return element("li", changeAttributes(change.item, "change value"),
                 element("p", classes("item"), title) + body);
}

std::string keyHtml(KeyNode const& first) {
  UString name = first.name;
  KeyNode const* node = &first;
  while (!node->own && node->values.empty() && node->subkeys.size() == 1) {
    node = &node->subkeys.front();
    name += u"\\" + node->name;
  }
  std::string title = codeHtml(name);
  if (node->own) title = mark(differenceOf(*node->own)) + " " + title;
  std::string const line = element(
      "p", node->own ? changeAttributes(node->own->item, "item key change") : classes("item key"),
      unseen("registry key ") + title);
  std::string inner;
  for (Change const* const value : node->values) inner += valueHtml(*value);
  for (KeyNode const& key : node->subkeys) inner += keyHtml(key);
  return element("li", classes("group"), line + (inner.empty() ? "" : element("ul", "", inner)));
}

std::string registryHtml(std::span<Change const> changes) {
  KeyNode root;
  for (Change const& change : changes) {
    if (groupOf(change.item.kind) == Group::registry) addTo(root, change);
  }
  std::string keys;
  for (KeyNode const& key : root.subkeys) keys += keyHtml(key);
  if (keys.empty()) return {};
  return element("li", classes("group registry"),
                 element("p", classes("item"), element("span", classes("kind"), "registry")) +
                     element("ul", classes("tree"), keys));
}

}  // namespace

std::string changeBodyHtml(Change const& change) {
  return bodyHtml(change);
}

std::string itemHtml(Item const& item) {
  return codeHtml(itemName(item));
}

std::string changesHtml(std::span<Change const> changes) {
  std::string list;
  bool hasRegistry = false;
  for (Change const& change : changes) {
    if (groupOf(change.item.kind) != Group::registry) {
      list += changeHtml(change);
    } else if (!hasRegistry) {
      list += registryHtml(changes);
      hasRegistry = true;
    }
  }
  return element("ul", classes("changes"), list);
}

}  // namespace regplan
