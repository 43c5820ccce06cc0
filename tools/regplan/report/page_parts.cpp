#include "tools/regplan/report/page_parts.hpp"

#include "tools/regplan/report/html.hpp"

namespace regplan {

std::string classes(std::string_view names) {
  return " class=\"" + std::string(names) + "\"";
}

std::string codeHtml(std::u16string_view text) {
  return html::element("code", " dir=\"ltr\"", html::text(text));
}

std::string lowerCase(std::string_view name) {
  std::string result(name);
  for (char& letter : result) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return result;
}

std::string unseen(std::string_view text) {
  return html::element("span", classes("unseen"), text);
}

}  // namespace regplan
