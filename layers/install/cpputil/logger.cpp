#include "install/cpputil/logger.hpp"

#include <memory>
#include <string_view>
#include <utility>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/message_limit.hpp"
#include "install/cpputil/observers.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"

namespace install::cpputil::logger {

namespace {

struct Log {
  std::unique_ptr<machine::FileWriter> writer;
  Path destination;
  observers<UString> listeners;
};

Log& log() {
  static Log instance;
  return instance;
}

std::string withoutLineBreaks(std::string_view message) {
  std::string line;
  line.reserve(message.size());
  for (char const unit : message) {
    if (unit == '\n') {
      line += "\\n";
    } else if (unit == '\r') {
      line += "\\r";
    } else {
      line += unit;
    }
  }
  return line;
}

/// One write a message, so that a line never stands half-written between those of another process.
void writeLine(machine::FileWriter& writer, UString const& message) {
  writer.write(machine::toIso8601(machine::current().clock().now()) + ' ' +
               withoutLineBreaks(fl::i18n::ustring_to_utf8(message)) + '\n');
}

/// Others may write where the log is kept: a link they left there would have an administrator
/// append to a file of their choice.
void refuseLink(Path const& path) {
  auto const status = machine::current().files().status(path.ustring());
  if (status && status->isLink) {
    throw machine::SystemError("log to a link", path.ustring(), machine::ErrorCode::accessDenied);
  }
}

/// Whoever owns the folder can exchange the log, and what is made beside it.
void requireOwnFolder(Path const& folder) {
  auto const access = machine::current().files().foreignAccess(folder.ustring());
  if (!access.any()) return;
  UString const weakness =
      u": the installation log's folder " + fl::i18n::utf8_to_ustring(machine::weaknessOf(access));
  bool const isOthers = !access.owner.empty();
  trouble::tell({isOthers ? trouble::severity::error : trouble::severity::warning,
                 folder.ustring() + weakness, folder.ustring()});
  if (isOthers) {
    throw machine::SystemError("log to", folder.ustring(), machine::ErrorCode::accessDenied);
  }
}

UString currentDestination() {
  return log().writer ? log().destination.ustring() : UString(u"(none)");
}

bool keepDestination(UString const& failure, Path const& subject) {
  append_message(failure + subject.ustring());
  append_message(resetDestination + currentDestination());
  return false;
}

}  // namespace

void append_message(UString const& message) {
  if (message.size() > longest_message) {
    append_message(cut_message(message));
    return;
  }
  log().listeners.announce(message);
  if (log().writer) {
    writeLine(*log().writer, message);
  }
}

void append_message(std::string const& message) {
  // Of a longer message so much that it is seen to be too long: three bytes make a unit, or more.
  constexpr std::size_t enough = 3 * longest_message + 4;
  append_message(fl::i18n::utf8_to_ustring(std::string_view(message).substr(0, enough)));
}

bool set_destination(Path const& file) {
  Path const folder = file.parent_path();
  try {
    fl::filesystem::create_directories(folder);
    refuseLink(folder);
    requireOwnFolder(folder);
  } catch (machine::SystemError const&) {
    return keepDestination(unableToCreateFolder, folder);
  }
  try {
    refuseLink(file);
    log().writer =
        machine::current().files().openForWriting(file.ustring(), machine::WriteMode::append);
  } catch (machine::SystemError const&) {
    return keepDestination(unableToCreateFile, file);
  }
  log().destination = file;
  return true;
}

void close_destination() {
  log().writer.reset();
  log().destination = Path();
}

scoped_observer::scoped_observer(callback observer) : observer_(std::move(observer)) {
  log().listeners.add(observer_);
}

scoped_observer::~scoped_observer() {
  log().listeners.remove(observer_);
}

}  // namespace install::cpputil::logger
