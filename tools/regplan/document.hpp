#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace regplan {

/// One thing wrong with a plan. `place` is "LINE:COLUMN" (from 1, columns in characters), a JSON
/// pointer (RFC 6901) or empty for the file as a whole.
struct PlanError {
  std::string place;
  std::string reason;

  /// "FILE:3:17: reason", "FILE: /commands/3/root: reason" or "FILE: reason".
  std::string line(std::string_view file) const;
};

/// What was found wrong with one plan, in the order found. Keeps as many errors as people read and
/// counts the rest.
class PlanErrors {
 public:
  static constexpr std::size_t limit = 1000;

  void add(std::string place, std::string reason);
  bool empty() const { return errors_.empty(); }
  /// As error lines, and one more that tells how many were left out.
  std::vector<std::string> lines(std::string_view file) const;

 private:
  std::vector<PlanError> errors_;
  std::size_t left_ = 0;
};

/// Larger plan files are refused.
inline constexpr std::size_t planSizeLimit = std::size_t{4} * 1024 * 1024;
/// Objects and lists within one another; a plan needs four.
inline constexpr std::size_t planNestingLimit = 32;

/// `pointer` with one more name or index, escaped and cut to a length that can be read.
std::string below(std::string_view pointer, std::string_view name);
std::string below(std::string_view pointer, std::size_t index);

/// The JSON value (RFC 8259; a UTF-8 byte order mark is skipped) that `text` is, members in the
/// order of the text; nullopt when the text is no JSON or nested beyond the limit. A member name
/// given twice is an error too, but leaves a value that can be looked at for others.
std::optional<nlohmann::ordered_json> parseDocument(std::string_view text, PlanErrors& errors);

/// The bytes of a file of this host, named in UTF-8; adds an error when it cannot be read or is
/// larger than a plan may be.
std::string readPlanFile(std::string const& file, PlanErrors& errors);

}  // namespace regplan
