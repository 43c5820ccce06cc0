#pragma once

#include <functional>
#include <string>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

/// The installation log: one file that every step appends to, UTF-8, one line a message,
/// "2026-11-21T08:30:00.123Z message", stamped by the current machine's clock. Line breaks within a
/// message are written as "\n" and "\r" so that a message stays one line. A message longer than
/// longest_message (install/cpputil/message_limit.hpp) is cut, and says so at its end, for
/// observers too. For the installer's one thread.
namespace install::cpputil::logger {

using fl::filesystem::Path;
using fl::i18n::UString;

// What the log says of itself.
const UString unableToCreateFile = u"Unable to create specified file for installation log ";
const UString unableToCreateFolder = u"Unable to create specified folder for installation log ";
const UString resetDestination = u"Reset destination file log ";

/// Appends one message and flushes it. Observers see it first. With no destination set the
/// observers are all that sees it. Throws what writing or an observer throws.
REGISTRATION_API void append_message(UString const& message);
/// The same for UTF-8.
REGISTRATION_API void append_message(std::string const& message);

/// Opens `file` on the current machine for appending and logs there from now on, whatever the
/// current machine is later; its folder is made when missing. A file or folder that is
/// a link is refused, since who may write there could point it anywhere, and so is a folder of
/// another account; one where others may write is told as a warning. When it fails the log
/// stays where it was, two messages say so there (the folder or file that could not be made; the
/// destination that stays, "(none)" when there is none), and the result is false.
REGISTRATION_API bool set_destination(Path const& file);
/// Closes the log file; later messages reach the observers only.
REGISTRATION_API void close_destination();

/// Sees each message as it comes, for as long as it lives. Observers nest; all are called, the
/// outermost first.
class REGISTRATION_API scoped_observer {
 public:
  using callback = std::function<void(UString const& message)>;
  explicit scoped_observer(callback observer);
  ~scoped_observer();
  scoped_observer(scoped_observer const&) = delete;
  scoped_observer& operator=(scoped_observer const&) = delete;

 private:
  callback observer_;
};

}  // namespace install::cpputil::logger
