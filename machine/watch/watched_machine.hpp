#pragma once

#include <memory>
#include <vector>

#include "machine/change.hpp"

namespace machine::watch {

/// Another machine whose changes are announced. Before each operation that may change something,
/// every item that may change is announced to the observers, and after it each is told as changed;
/// before foreign code runs, that is told too. Reading announces nothing, nor does an operation
/// that finds nothing to do: removing what is not there, making a folder or key that is.
///
/// - Paths are told absolute, `\\?\` left out where it makes no difference; the programs and DLLs
///   of a HandOver as the caller named them.
/// - A key or value that is set is told after those keys above it that do not exist yet.
/// - A key that is removed, and a folder that is renamed, is told with all that is below it,
///   deepest first; a folder's new name then from above.
/// - A file is told once when it is opened for writing, as changed when it is closed or its writer
///   destroyed; a child's output file likewise, until the child has been waited for or let go. A
///   file written through a link is told under the link's name.
/// - Announced in this order, items can be put back one by one in the reverse order.
///
/// Broadcasts that change nothing themselves are passed on: of a changed setting, of new
/// associations. So are downloads; the caller writes what they bring.
class REGISTRATION_API WatchedMachine final : public Machine {
 public:
  /// Each observer hears everything, in this order. All of them and `inner` must outlive this
  /// object, and this object what it handed out.
  WatchedMachine(Machine& inner, std::vector<ChangeObserver*> observers);
  ~WatchedMachine() override;
  WatchedMachine(WatchedMachine const&) = delete;
  WatchedMachine& operator=(WatchedMachine const&) = delete;

  Files& files() override;
  Registry& registry() override;
  Environment& environment() override;
  Shell& shell() override;
  Processes& processes() override;
  Modules& modules() override;
  Tasks& tasks() override;
  Services& services() override;
  Downloads& downloads() override;
  Clock& clock() override;
  MachineLock& lock() override;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace machine::watch
