#include "machine/json/document.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "machine/printable.hpp"

namespace machine::json {

namespace {

using Json = nlohmann::ordered_json;

// How much is shown of what a document gives, in UTF-16 units.
constexpr std::size_t shownName = 80;
constexpr std::size_t shownReason = 300;
constexpr int numberOverflow = 406;  ///< the parser's number for it

/// "3:17" for the character that begins at or spans the byte `offset`.
std::string lineAndColumn(std::string_view text, std::size_t offset) {
  std::string_view const before = text.substr(0, offset);
  auto const isLineEnd = [](char c) { return c == '\n'; };
  auto const isCharacterStart = [](char c) { return (c & 0xC0) != 0x80; };
  auto const line = std::ranges::count_if(before, isLineEnd) + 1;
  std::string_view const sameLine = before.substr(before.rfind('\n') + 1);
  auto const column = std::ranges::count_if(sameLine, isCharacterStart) + 1;
  return std::to_string(line) + ":" + std::to_string(column);
}

/// The parser's message without its own numbering and position, and without what it read last,
/// which may be most of the file.
std::string_view reasonOf(std::string_view message) {
  auto const dropThrough = [&message](std::string_view mark) {
    std::size_t const at = message.find(mark);
    if (at != std::string_view::npos) message.remove_prefix(at + mark.size());
  };
  dropThrough("] ");
  if (message.starts_with("parse error at ")) dropThrough(": ");
  return message.substr(0, message.find("; last read: "));
}

/// Builds the value from the parser's events. Every object keeps the set of its names, since the
/// value itself would have to be searched from its beginning for each.
class DocumentBuilder final : public nlohmann::json_sax<Json> {
 public:
  DocumentBuilder(std::string_view text, std::size_t nestingLimit, Report const& report)
      : text_(text), nestingLimit_(nestingLimit), report_(report) {}

  Json take() { return std::move(root_); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, string_t const&) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { return false; }

  bool start_object(std::size_t) override { return open(Json::object()); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    Container& object = open_.back();
    object.name = name;
    if (!object.names.insert(name).second) report_(place(), "given more than once");
    return true;
  }

  bool parse_error(std::size_t position, std::string const& token,
                   nlohmann::detail::exception const& error) override {
    // The parser has read up to the end of what it refuses. The token it hands over is whole only
    // for texts and numbers; these are shown by their beginning.
    std::string_view const reason = reasonOf(error.what());
    bool const isWholeToken = reason.find("unexpected string literal") != reason.npos ||
                              reason.find("unexpected number literal") != reason.npos ||
                              error.id == numberOverflow;
    std::size_t const back = isWholeToken ? token.size() : 1;
    report_(lineAndColumn(text_, position < back ? 0 : position - back),
            "not JSON: " + shortened(reason, shownReason));
    return false;
  }

 private:
  struct Container {
    Json* value;
    std::string name;             ///< of the member being read
    std::set<std::string> names;  ///< of an object's members
  };

  /// Of the value that comes next. The lists around the innermost container hold their part of
  /// the way there already.
  std::string place() const {
    std::string pointer;
    for (Container const& container : open_) {
      bool const isInnermost = &container == &open_.back();
      std::size_t const index = container.value->size() - (isInnermost ? 0 : 1);
      pointer =
          container.value->is_object() ? below(pointer, container.name) : below(pointer, index);
    }
    return pointer;
  }

  bool add(Json value) {
    put(std::move(value));
    return true;
  }

  bool open(Json value) {
    if (open_.size() == nestingLimit_) {
      report_(place(), "nested deeper than " + std::to_string(nestingLimit_) + " levels");
      return false;
    }
    Json& added = put(std::move(value));
    open_.push_back({&added, {}, {}});
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  /// An open container does not move: what holds it takes nothing new until it is closed.
  Json& put(Json value) {
    if (open_.empty()) return root_ = std::move(value);
    Container& container = open_.back();
    if (container.value->is_array()) {
      container.value->push_back(std::move(value));
      return container.value->back();
    }
    auto& members = container.value->get_ref<Json::object_t&>();
    static_cast<Json::object_t::Container&>(members).emplace_back(container.name, std::move(value));
    return members.back().second;
  }

  std::string_view text_;
  std::size_t nestingLimit_;
  Report const& report_;
  Json root_;
  std::vector<Container> open_;
};

std::string_view withoutByteOrderMark(std::string_view text) {
  return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

}  // namespace

std::string errorLine(std::string_view file, std::string_view place, std::string_view reason) {
  bool const isPointer = place.starts_with('/');
  std::string line = printable(file);
  if (!file.empty() && !place.empty()) line += isPointer ? ": " : ":";
  line += place;
  if (!line.empty()) line += ": ";
  line += reason;
  return line;
}

std::string below(std::string_view pointer, std::string_view name) {
  std::string escaped;
  for (char const c : shortened(name, shownName)) {
    if (c == '~') {
      escaped += "~0";
    } else if (c == '/') {
      escaped += "~1";
    } else {
      escaped += c;
    }
  }
  return std::string(pointer) + "/" + escaped;
}

std::string below(std::string_view pointer, std::size_t index) {
  return std::string(pointer) + "/" + std::to_string(index);
}

std::optional<Json> parse(std::string_view text, std::size_t nestingLimit, Report const& report) {
  std::string_view const json = withoutByteOrderMark(text);
  DocumentBuilder builder(json, nestingLimit, report);
  if (!Json::sax_parse(json, &builder)) return std::nullopt;
  return builder.take();
}

Json parse(std::string_view file, std::string_view text, std::size_t nestingLimit) {
  auto document =
      parse(text, nestingLimit, [&](std::string const& place, std::string const& reason) {
        throw std::runtime_error(errorLine(file, place, reason));
      });
  return std::move(document).value();
}

}  // namespace machine::json
