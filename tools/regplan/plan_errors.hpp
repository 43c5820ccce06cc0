#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace regplan {

/// What was found wrong with one plan, in the order found. Keeps as many errors as people read and
/// counts the rest.
class PlanErrors {
 public:
  static constexpr std::size_t limit = 1000;

  /// `place` is "LINE:COLUMN" (from 1, columns in characters), a JSON pointer (RFC 6901) or empty
  /// for the file as a whole.
  void add(std::string place, std::string reason);
  bool empty() const { return errors_.empty(); }
  /// As error lines: "FILE:3:17: reason", "FILE: /commands/3/root: reason" or "FILE: reason", and
  /// one more that tells how many were left out.
  std::vector<std::string> lines(std::string_view file) const;

 private:
  struct Error {
    std::string place;
    std::string reason;
  };

  std::vector<Error> errors_;
  std::size_t left_ = 0;
};

/// Larger plan files are refused.
inline constexpr std::size_t planSizeLimit = std::size_t{4} * 1024 * 1024;
/// Objects and lists within one another; a plan needs four.
inline constexpr std::size_t planNestingLimit = 32;

/// The bytes of a file of this host, named in UTF-8; adds an error when it cannot be read or is
/// larger than a plan may be.
std::string readPlanFile(std::string const& file, PlanErrors& errors);

}  // namespace regplan
