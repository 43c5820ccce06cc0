#pragma once

#include <cstddef>
#include <functional>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

/// What became of a step beside what the installation log says of it. The log's lines are fixed,
/// and some failures pass in it without a word, or in words that a program cannot tell from others;
/// here each of them is told as what it is. For the installer's one thread.
namespace install::cpputil::trouble {

using fl::i18n::UString;

enum class severity {
  skipped,  ///< no trouble: there was nothing to do, for the reason that the text gives
  warning,  ///< done, and somebody must know or look at something
  error     ///< not done, or only in part
};

struct report {
  trouble::severity severity = severity::error;
  /// One sentence without its full stop, the subject's name included.
  UString text;
  /// The file, registry key, program, option ... that this is about; empty where the text alone
  /// says.
  UString subject{};
  /// How many of the next messages to the installation log tell of this; 0 where the log is silent.
  std::size_t logged_lines = 0;
};

/// Hands a report to every observer; without one it is lost. A text or subject longer than
/// longest_message (install/cpputil/message_limit.hpp) is cut, as in the log. Throws what an
/// observer throws.
REGISTRATION_API void tell(report const& told);

/// Warns that code is about to be loaded or run from `path`, where that is not absolute: what it
/// names is chosen by whoever chooses the current folder.
REGISTRATION_API void warn_of_relative_code(UString const& path);

/// Sees each report as it comes, for as long as it lives. Observers nest; all are called, the
/// outermost first.
class REGISTRATION_API scoped_observer {
 public:
  using callback = std::function<void(report const& told)>;
  explicit scoped_observer(callback observer);
  ~scoped_observer();
  scoped_observer(scoped_observer const&) = delete;
  scoped_observer& operator=(scoped_observer const&) = delete;

 private:
  callback observer_;
};

}  // namespace install::cpputil::trouble
