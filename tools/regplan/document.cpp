#include "tools/regplan/document.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>
#include <utility>

#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

using Json = nlohmann::ordered_json;

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
  DocumentBuilder(std::string_view text, PlanErrors& errors) : text_(text), errors_(errors) {}

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
    if (!object.names.insert(name).second) errors_.add(place(), "given more than once");
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
    errors_.add(lineAndColumn(text_, position < back ? 0 : position - back),
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
    if (open_.size() == planNestingLimit) {
      errors_.add(place(), "nested deeper than " + std::to_string(planNestingLimit) + " levels");
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
  PlanErrors& errors_;
  Json root_;
  std::vector<Container> open_;
};

std::string_view withoutByteOrderMark(std::string_view text) {
  return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

std::string systemReason(int error) {
  return error == 0 ? "unknown reason" : std::generic_category().message(error);
}

}  // namespace

std::string PlanError::line(std::string_view file) const {
  bool const isPointer = place.starts_with('/');
  std::string const separator = place.empty() ? "" : isPointer ? ": " : ":";
  return printable(file) + separator + place + ": " + reason;
}

void PlanErrors::add(std::string place, std::string reason) {
  if (errors_.size() == limit) {
    ++left_;
    return;
  }
  errors_.push_back({std::move(place), std::move(reason)});
}

std::vector<std::string> PlanErrors::lines(std::string_view file) const {
  std::vector<std::string> lines;
  for (PlanError const& error : errors_) lines.push_back(error.line(file));
  if (left_ > 0) lines.push_back(PlanError{"", counted(left_, "more error")}.line(file));
  return lines;
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

std::optional<nlohmann::ordered_json> parseDocument(std::string_view text, PlanErrors& errors) {
  std::string_view const json = withoutByteOrderMark(text);
  DocumentBuilder builder(json, errors);
  if (!Json::sax_parse(json, &builder)) return std::nullopt;
  return builder.take();
}

std::string readPlanFile(std::string const& file, PlanErrors& errors) {
  std::u8string const name(file.begin(), file.end());
  errno = 0;
  std::ifstream stream(std::filesystem::path(name), std::ios::binary);
  if (!stream) {
    errors.add("", "cannot be opened: " + systemReason(errno));
    return {};
  }
  std::string text(planSizeLimit + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (stream.bad() || (stream.fail() && !stream.eof())) {
    errors.add("", "cannot be read: " + systemReason(errno));
    return {};
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  if (text.size() > planSizeLimit) {
    errors.add("",
               "larger than " + std::to_string(planSizeLimit) + " bytes, the most a plan may be");
    return {};
  }
  return text;
}

}  // namespace regplan
