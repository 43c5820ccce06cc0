#include "tools/regplan/text.hpp"

#include <algorithm>
#include <vector>

#include "machine/printable.hpp"

namespace regplan {
namespace {

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Optimal string alignment distance without regard to the case of A to Z.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforePrevious(b.size() + 1);
  std::vector<std::size_t> previous(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    beforePrevious.swap(previous);
    previous.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      bool const same = lower(a[i - 1]) == lower(b[j - 1]);
      row[j] = std::min({previous[j] + 1, row[j - 1] + 1, previous[j - 1] + (same ? 0 : 1)});
      bool const swapped = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                           lower(a[i - 2]) == lower(b[j - 1]);
      if (swapped) row[j] = std::min(row[j], beforePrevious[j - 2] + 1);
    }
  }
  return row[b.size()];
}

std::string joined(std::span<std::string_view const> names) {
  std::string text;
  for (std::string_view const name : names) {
    if (!text.empty()) text += ", ";
    text += name;
  }
  return text;
}

}  // namespace

std::string inQuotes(std::string_view name) {
  return "\"" + machine::shortened(name, shownName) + "\"";
}

std::string_view nearest(std::string_view name, std::span<std::string_view const> known) {
  std::string_view best;
  std::size_t bestDistance = std::max<std::size_t>(2, name.size() / 3) + 1;
  constexpr std::size_t longestWorthComparing = 100;
  if (name.size() > longestWorthComparing) return best;
  for (std::string_view const candidate : known) {
    std::size_t const far = distance(name, candidate);
    if (far < bestDistance && far < candidate.size()) {
      best = candidate;
      bestDistance = far;
    }
  }
  return best;
}

std::string unknown(std::string_view what, std::string_view name,
                    std::span<std::string_view const> known) {
  std::string const reason = "unknown " + std::string(what) + "; ";
  if (known.empty()) return reason + "there are none";
  std::string_view const meant = nearest(name, known);
  if (meant.empty()) return reason + "known: " + joined(known);
  return reason + "did you mean " + inQuotes(meant) + "? Known: " + joined(known);
}

std::string wrapped(std::string_view text, std::size_t indent, std::size_t width) {
  std::string lines;
  std::size_t column = indent;
  while (!text.empty()) {
    std::string_view const word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(text.size(), word.size() + 1));
    if (column > indent && column + 1 + word.size() > width) {
      lines += "\n" + std::string(indent, ' ');
      column = indent;
    } else if (column > indent) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += word.size();
  }
  return lines;
}

std::string counted(std::size_t number, std::string_view noun) {
  return std::to_string(number) + " " + std::string(noun) + (number == 1 ? "" : "s");
}

}  // namespace regplan
