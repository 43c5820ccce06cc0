#include "cppmicroservices/LDAPFilter.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <list>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "core.hpp"

namespace cppmicroservices {

/// A node of the filter's tree.
class LDAPFilterData {
 public:
  enum class Operator { all, any, none, equal, atLeast, atMost, approximately };

  Operator what = Operator::all;
  std::vector<LDAPFilterData> operands;  ///< of all, any, none
  std::string name;                      ///< of the others
  /// The value's parts between its wildcards: one part for a value without.
  std::vector<std::string> parts;
};

namespace {

using Operator = LDAPFilterData::Operator;

bool isSpace(char unit) {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

/// filter = "(" ( ("&" / "|") 1*filter / "!" filter / name operator value ) ")"
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  LDAPFilterData parse() {
    auto filter = parseFilter(0);
    skipSpace();
    if (at_ != text_.size()) {
      refuse("Trailing garbage");
    }
    return filter;
  }

 private:
  static constexpr int deepestNesting = 256;

  [[noreturn]] void refuse(std::string const& reason) const {
    throw std::invalid_argument(reason + ": " + std::string(text_.substr(at_)));
  }
  char peek() const {
    if (at_ == text_.size()) {
      refuse("Unexpected end of query");
    }
    return text_[at_];
  }
  bool take(std::string_view expected) {
    if (!text_.substr(at_).starts_with(expected)) {
      return false;
    }
    at_ += expected.size();
    return true;
  }
  void require(std::string_view expected) {
    if (!take(expected)) {
      refuse("Malformed query");
    }
  }
  void skipSpace() {
    while (at_ < text_.size() && isSpace(text_[at_])) {
      ++at_;
    }
  }

  LDAPFilterData parseFilter(int depth) {
    if (depth > deepestNesting) {
      refuse("Nested too deeply");
    }
    skipSpace();
    require("(");
    skipSpace();
    auto const composed = take("&")   ? Operator::all
                          : take("|") ? Operator::any
                          : take("!") ? Operator::none
                                      : Operator::equal;
    auto filter =
        composed == Operator::equal ? parseComparison() : parseOperands(composed, depth + 1);
    require(")");
    return filter;
  }

  LDAPFilterData parseOperands(Operator what, int depth) {
    LDAPFilterData filter;
    filter.what = what;
    do {
      filter.operands.push_back(parseFilter(depth));
      skipSpace();
    } while (peek() == '(');
    if (what == Operator::none && filter.operands.size() > 1) {
      refuse("Malformed query");
    }
    return filter;
  }

  LDAPFilterData parseComparison() {
    LDAPFilterData filter;
    filter.name = parseName();
    filter.what = take("=")    ? Operator::equal
                  : take("<=") ? Operator::atMost
                  : take(">=") ? Operator::atLeast
                  : take("~=") ? Operator::approximately
                               : Operator::none;
    if (filter.what == Operator::none) {
      refuse("Undefined operator");
    }
    filter.parts = parseValue();
    return filter;
  }

  std::string parseName() {
    auto const start = at_;
    while (std::string_view("()<>=~").find(peek()) == std::string_view::npos) {
      ++at_;
    }
    auto name = text_.substr(start, at_ - start);
    while (!name.empty() && isSpace(name.back())) {
      name.remove_suffix(1);
    }
    if (name.empty()) {
      refuse("Malformed query");
    }
    return std::string(name);
  }

  /// Up to the closing parenthesis; those that the value itself opens and closes belong to it.
  std::vector<std::string> parseValue() {
    std::vector<std::string> parts(1);
    for (int open = 0; open > 0 || peek() != ')'; ++at_) {
      char const unit = peek();
      open += unit == '(' ? 1 : unit == ')' ? -1 : 0;
      if (unit == '*') {
        parts.emplace_back();
        continue;
      }
      if (unit == '\\') {
        ++at_;
      }
      parts.back() += peek();
    }
    return parts;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

std::string joined(std::vector<std::string> const& parts) {
  std::string text = parts.front();
  for (std::size_t i = 1; i < parts.size(); ++i) {
    text += '*' + parts[i];
  }
  return text;
}

bool isPresence(LDAPFilterData const& filter) {
  return filter.what == Operator::equal && filter.parts.size() > 1 &&
         std::all_of(filter.parts.begin(), filter.parts.end(),
                     [](auto const& part) { return part.empty(); });
}

bool matchesWildcards(std::string_view text, std::vector<std::string> const& parts) {
  if (parts.size() == 1) {
    return text == parts.front();
  }
  if (!text.starts_with(parts.front())) {
    return false;
  }
  text.remove_prefix(parts.front().size());
  if (!text.ends_with(parts.back())) {
    return false;
  }
  text.remove_suffix(parts.back().size());
  for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
    auto const found = text.find(parts[i]);
    if (found == text.npos) {
      return false;
    }
    text.remove_prefix(found + parts[i].size());
  }
  return true;
}

std::string withoutSpaceAndCase(std::string_view text) {
  std::string result;
  for (char const unit : text) {
    if (!isSpace(unit)) {
      result += unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
    }
  }
  return result;
}

template <typename Value>
bool inOrder(Operator what, Value const& value, Value const& other) {
  switch (what) {
    case Operator::atLeast:
      return value >= other;
    case Operator::atMost:
      return value <= other;
    default:
      return !(value < other) && !(other < value);
  }
}

bool matchesText(std::string_view text, LDAPFilterData const& filter) {
  switch (filter.what) {
    case Operator::equal:
      return matchesWildcards(text, filter.parts);
    case Operator::approximately:
      return withoutSpaceAndCase(text) == withoutSpaceAndCase(joined(filter.parts));
    default:
      return inOrder(filter.what, std::string(text), joined(filter.parts));
  }
}

/// Texts that do not begin with a number, or one out of range, match nothing.
bool matchesWhole(long long value, LDAPFilterData const& filter) {
  auto const text = joined(filter.parts);
  char* end = nullptr;
  errno = 0;
  long long const other = std::strtoll(text.c_str(), &end, 10);
  return end != text.c_str() && errno == 0 && inOrder(filter.what, value, other);
}

bool matchesReal(double value, double tolerance, LDAPFilterData const& filter) {
  auto const text = joined(filter.parts);
  char* end = nullptr;
  double const other = std::strtod(text.c_str(), &end);
  if (end == text.c_str()) {
    return false;
  }
  bool const ordered = filter.what == Operator::atLeast || filter.what == Operator::atMost;
  return ordered ? inOrder(filter.what, value, other) : std::abs(value - other) < tolerance;
}

bool matchesTruth(bool value, LDAPFilterData const& filter) {
  return (filter.what == Operator::equal || filter.what == Operator::approximately) &&
         equalIgnoringCase(joined(filter.parts), value ? "true" : "false");
}

template <typename... Types>
bool matchesWholeOf(Any const& value, LDAPFilterData const& filter) {
  return (... || [&] {
    auto const* number = any_cast<Types>(&value);
    return number != nullptr && std::in_range<long long>(*number) &&
           matchesWhole(static_cast<long long>(*number), filter);
  }());
}

bool matches(Any const& value, LDAPFilterData const& filter);

template <typename List>
bool matchesElement(Any const& value, LDAPFilterData const& filter) {
  auto const* list = any_cast<List>(&value);
  return list != nullptr && std::any_of(list->begin(), list->end(), [&](auto const& element) {
           return matches(Any(element), filter);
         });
}

bool matches(Any const& value, LDAPFilterData const& filter) {
  if (value.Empty()) {
    return false;
  }
  if (isPresence(filter)) {
    return true;
  }
  if (auto const* text = any_cast<std::string>(&value)) {
    return matchesText(*text, filter);
  }
  if (auto const* pointer = any_cast<char const*>(&value)) {
    return matchesText(*pointer, filter);
  }
  if (auto const* unit = any_cast<char>(&value)) {
    return matchesText(std::string_view(unit, 1), filter);
  }
  if (auto const* truth = any_cast<bool>(&value)) {
    return matchesTruth(*truth, filter);
  }
  if (auto const* real = any_cast<float>(&value)) {
    return matchesReal(static_cast<double>(*real), std::numeric_limits<float>::epsilon(), filter);
  }
  if (auto const* real = any_cast<double>(&value)) {
    return matchesReal(*real, std::numeric_limits<double>::epsilon(), filter);
  }
  return matchesWholeOf<short, int, long, long long, unsigned char, unsigned short, unsigned,
                        unsigned long, unsigned long long>(value, filter) ||
         matchesElement<std::vector<std::string>>(value, filter) ||
         matchesElement<std::list<std::string>>(value, filter) ||
         matchesElement<std::vector<Any>>(value, filter);
}

bool evaluate(LDAPFilterData const& filter, AnyMap const& properties, bool exactNames) {
  auto const holds = [&](LDAPFilterData const& operand) {
    return evaluate(operand, properties, exactNames);
  };
  auto const& operands = filter.operands;
  switch (filter.what) {
    case Operator::all:
      return std::all_of(operands.begin(), operands.end(), holds);
    case Operator::any:
      return std::any_of(operands.begin(), operands.end(), holds);
    case Operator::none:
      return !holds(operands.front());
    default:
      break;
  }
  auto const found = properties.find(filter.name);
  return found != properties.end() && (!exactNames || found->first == filter.name) &&
         matches(found->second, filter);
}

char const* symbolOf(Operator what) {
  switch (what) {
    case Operator::all:
      return "&";
    case Operator::any:
      return "|";
    case Operator::none:
      return "!";
    case Operator::equal:
      return "=";
    case Operator::atLeast:
      return ">=";
    case Operator::atMost:
      return "<=";
    case Operator::approximately:
      return "~=";
  }
  return "";
}

std::string escaped(std::string const& part) {
  std::string text;
  for (char const unit : part) {
    if (std::string_view("()*\\").find(unit) != std::string_view::npos) {
      text += '\\';
    }
    text += unit;
  }
  return text;
}

std::string textOf(LDAPFilterData const& filter) {
  std::string text = "(" + filter.name + symbolOf(filter.what);
  for (auto const& operand : filter.operands) {
    text += textOf(operand);
  }
  if (!filter.parts.empty()) {
    std::vector<std::string> parts;
    std::transform(filter.parts.begin(), filter.parts.end(), std::back_inserter(parts), escaped);
    text += joined(parts);
  }
  return text + ")";
}

}  // namespace

LDAPFilter::LDAPFilter() = default;
LDAPFilter::LDAPFilter(std::string const& filter)
    : d(std::make_shared<LDAPFilterData const>(Parser(filter).parse())) {}
LDAPFilter::LDAPFilter(LDAPFilter const&) = default;
LDAPFilter& LDAPFilter::operator=(LDAPFilter const&) = default;
LDAPFilter::~LDAPFilter() = default;

LDAPFilter::operator bool() const {
  return d != nullptr;
}

bool LDAPFilter::Match(ServiceReferenceBase const& reference) const {
  AnyMap properties;
  for (auto const& key : reference.GetPropertyKeys()) {
    properties.emplace(key, reference.GetProperty(key));
  }
  return Match(properties);
}

bool LDAPFilter::Match(Bundle const& bundle) const {
  return Match(bundle.GetHeaders());
}

bool LDAPFilter::Match(AnyMap const& properties) const {
  return d && evaluate(*d, properties, false);
}

bool LDAPFilter::MatchCase(AnyMap const& properties) const {
  return d && evaluate(*d, properties, true);
}

std::string LDAPFilter::ToString() const {
  return d ? textOf(*d) : std::string();
}

bool LDAPFilter::operator==(LDAPFilter const& other) const {
  return ToString() == other.ToString();
}

std::ostream& operator<<(std::ostream& out, LDAPFilter const& filter) {
  return out << filter.ToString();
}

}  // namespace cppmicroservices
