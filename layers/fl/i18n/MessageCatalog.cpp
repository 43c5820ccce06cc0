#include "fl/i18n/MessageCatalog.hpp"

#include <charconv>

#include "fl/i18n/embedded_messages.hpp"
#include "machine/json/document.hpp"

namespace fl::i18n {

namespace {

constexpr std::size_t deepestNesting = 4;

/// Component, then language, then key: the text, UTF-8.
nlohmann::ordered_json const& catalog() {
  static auto const& texts = *new nlohmann::ordered_json(machine::json::parse(
      "messages.json", {reinterpret_cast<char const*>(embeddedMessages), embeddedMessagesSize},
      deepestNesting));
  return texts;
}

/// Null when the catalog has none.
nlohmann::ordered_json const* textFor(MessageId const& id, std::string const& language) {
  nlohmann::ordered_json const* node = &catalog();
  for (auto const& name : {id.component, language, id.key}) {
    auto const found = node->find(name);
    if (found == node->end()) {
      return nullptr;
    }
    node = &*found;
  }
  return node;
}

/// The text with each `{n}` replaced by the argument of that number. An argument is not looked
/// through for places.
UString filledIn(std::string_view text, std::vector<UString> const& arguments) {
  UString result;
  while (!text.empty()) {
    auto const open = text.find('{');
    result += to_ustring(text.substr(0, open));
    text.remove_prefix(std::min(open, text.size()));
    std::size_t number = 0;
    auto const* const end = text.data() + text.size();
    auto const parsed = text.empty() ? std::from_chars_result{end, std::errc::invalid_argument}
                                     : std::from_chars(text.data() + 1, end, number);
    bool const isPlace = parsed.ec == std::errc() && parsed.ptr != end && *parsed.ptr == '}' &&
                         number < arguments.size();
    if (isPlace) {
      result += arguments[number];
      text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()) + 1);
    } else if (!text.empty()) {
      result += u'{';
      text.remove_prefix(1);
    }
  }
  return result;
}

UString described(MessageId const& id) {
  UString text = to_ustring(id.component + ":" + id.key);
  for (auto const& argument : id.arguments) {
    text += u" " + argument;
  }
  return text;
}

}  // namespace

UString MessageCatalog::get_message(MessageId const& id, BxLocale const& locale) {
  for (auto const& language : {ustring_to_utf8(locale.language()), std::string("en")}) {
    if (auto const* text = textFor(id, language)) {
      return filledIn(text->get_ref<std::string const&>(), id.arguments);
    }
  }
  return described(id);
}

}  // namespace fl::i18n
