#include "registration/commands/metadata/placeholders.hpp"

namespace registration::commands::metadata {

std::string withReplaced(std::string_view text, std::string_view token, std::string_view value) {
  std::string result;
  for (auto at = text.find(token); at != text.npos; at = text.find(token)) {
    result.append(text.substr(0, at)).append(value);
    text.remove_prefix(at + token.size());
  }
  return result.append(text);
}

}  // namespace registration::commands::metadata
