#include "registration/commands/metadata/placeholders.hpp"

#include <stdexcept>

namespace registration::commands::metadata {

namespace {

void append(std::string& result, std::string_view part) {
  if (part.size() > longestReplaced - result.size()) {
    throw std::length_error("longer than " + std::to_string(longestReplaced) +
                            " bytes with its placeholders replaced, the most an entry may be");
  }
  result += part;
}

}  // namespace

std::string withReplaced(std::string_view text, std::string_view token, std::string_view value) {
  std::string result;
  for (auto at = text.find(token); at != text.npos; at = text.find(token)) {
    append(result, text.substr(0, at));
    append(result, value);
    text.remove_prefix(at + token.size());
  }
  append(result, text);
  return result;
}

}  // namespace registration::commands::metadata
