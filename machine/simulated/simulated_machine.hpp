#pragma once

#include <filesystem>
#include <memory>

#include "machine/machine.hpp"

namespace machine::simulated {

/// A directory that stands for a Windows computer, on any host:
///
///   C/...                      drive C; one folder for each drive letter
///   UNC/srv/share/...          a network share
///   registry.json              see simulated_registry.hpp
///   environment.json           the process's variables, and how many broadcasts there were
///   processes.json             what was started, in order
///   modules.json               what was called in modules, and which bundles were to be loaded
///   tasks.json                 scheduled tasks
///   shell.json                 how often the shell was told of new file associations
///   services.json              services, whether they run, and how often each was started
///   web/...                    what web servers hold, see simulated_downloads.hpp
///   lock                       see simulated_lock.hpp
///   processes-exit-codes.json  written by hand, when programs are to fail
///
/// A new machine starts with the folders, registry values and variables of a Windows on drive C.
/// The JSON files are read at the start and when the machine's lock is acquired, and written, those
/// of them that hold something new, by save() and when the lock is let go. Several processes may
/// share a directory when each that changes something holds the lock from before its first change.
class REGISTRATION_API SimulatedMachine final : public Machine {
 public:
  /// Opens the machine in `directory`, or makes one. Throws std::runtime_error for a JSON file that
  /// is damaged or of another version, and changes nothing then.
  explicit SimulatedMachine(std::filesystem::path directory);
  /// Saves; a failure goes unnoticed.
  ~SimulatedMachine() override;
  SimulatedMachine(SimulatedMachine const&) = delete;
  SimulatedMachine& operator=(SimulatedMachine const&) = delete;

  /// Writes those JSON files whose content was changed, each at once. Throws std::runtime_error.
  void save();

  /// The exit code of the children of `program`: an absolute path, or a file name for all programs
  /// of that name. Not saved.
  void setExitCode(std::u16string_view program, std::uint32_t code);

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

}  // namespace machine::simulated
