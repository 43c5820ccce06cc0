#pragma once

#include <map>

#include "machine/change.hpp"
#include "machine/machine.hpp"
#include "machine/overlay/overlay_files.hpp"
#include "machine/simulated/simulated_modules.hpp"
#include "machine/simulated/simulated_shell.hpp"

/// The smaller parts: each reads from another machine's what was not changed, which must outlive
/// it. Names are folded in the maps of what was changed, and an empty entry is one that was
/// removed.
namespace machine::overlay {

/// Nobody is told of a changed setting.
class OverlayEnvironment final : public Environment {
 public:
  explicit OverlayEnvironment(Environment& inner) : inner_(inner) {}

  std::optional<UString> variable(std::u16string_view name) override;
  bool setVariable(std::u16string_view name, std::u16string_view value) override;
  bool removeVariable(std::u16string_view name) override;
  std::intptr_t broadcastSettingChange() override;
  std::uint32_t lastError() override { return lastError_; }
  UString account() override { return inner_.account(); }

  std::size_t names() const { return changed_.size(); }

 private:
  Environment& inner_;
  std::map<UString, std::optional<UString>> changed_;
  std::uint32_t lastError_ = 0;
};

/// A shortcut that is written is a file in the overlay, in the simulated machine's form; one that
/// lies in the inner machine is read by its shell. The shell is told of no associations.
class OverlayShell final : public Shell {
 public:
  OverlayShell(Shell& inner, OverlayFiles& files) : inner_(inner), files_(files), written_(files) {}

  UString knownFolder(KnownFolder folder) override { return inner_.knownFolder(folder); }
  void writeShortcut(std::u16string_view path, Shortcut const& shortcut) override {
    written_.writeShortcut(path, shortcut);
  }
  std::optional<Shortcut> readShortcut(std::u16string_view path) override;
  void announceAssociationsChanged() override {}

 private:
  Shell& inner_;
  OverlayFiles& files_;
  simulated::SimulatedShell written_;
};

/// Loads nothing and calls nothing. A module is looked for where LoadLibraryW looks, but for the
/// folder of the program, which no machine tells: in the system and the Windows folder, the current
/// folder and those of PATH. It is taken for loaded when it is a file that is not empty, and for
/// exporting a function whose name stands in it as a text of its own. Bundles are not admitted.
class OverlayModules final : public Modules {
 public:
  OverlayModules(OverlayFiles& files, Environment& environment, Shell& shell)
      : files_(files), environment_(environment), shell_(shell), search_(files, shell) {}

  ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                            std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override;
  bool admitBundles(std::u16string_view, std::vector<UString> const&) override { return false; }

 private:
  std::vector<UString> folders();

  OverlayFiles& files_;
  Environment& environment_;
  Shell& shell_;
  simulated::SimulatedModules search_;
};

/// Refuses to remove task folders of the inner scheduler: what is in them is not known.
class OverlayTasks final : public Tasks {
 public:
  explicit OverlayTasks(Tasks& inner) : inner_(inner) {}

  std::optional<TaskDefinition> task(std::u16string_view name) override;
  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override;
  std::optional<UString> document(std::u16string_view name) override;
  void registerDocument(std::u16string_view name, std::u16string_view document) override;
  bool stopAndDisable(std::u16string_view name) override;
  bool remove(std::u16string_view name) override;
  bool folderExists(std::u16string_view name) override;
  bool removeFolder(std::u16string_view name) override;

  std::size_t names() const { return changed_.size() + folders_.size(); }

 private:
  struct Task {
    TaskDefinition definition;
    UString document;
  };

  void set(std::u16string_view name, Task task);

  Tasks& inner_;
  std::map<UString, std::optional<Task>> changed_;
  std::map<UString, UString> folders_;  // made here
};

/// A service that is started runs at once when its program exists, and one that is stopped has
/// ended at once. Of a service that was not set here the program is taken to exist: the system may
/// know names for it that are no paths. A removed service is gone, running or not.
class OverlayServices final : public Services {
 public:
  /// Programs must exist in `files`.
  OverlayServices(Services& inner, Files& files) : inner_(inner), files_(files) {}

  std::optional<ServiceDefinition> definition(std::u16string_view name) override;
  std::optional<ServiceState> state(std::u16string_view name) override;
  void set(std::u16string_view name, ServiceDefinition const& definition) override;
  bool remove(std::u16string_view name) override;
  void start(std::u16string_view name, std::chrono::milliseconds timeout) override;
  void stop(std::u16string_view name, std::chrono::milliseconds timeout) override;

  std::size_t names() const { return changed_.size(); }

 private:
  struct Service {
    std::optional<ServiceCondition> condition;
    bool wasSet = false;  ///< here, not only in the inner machine
  };
  Service now(std::u16string_view name);
  Service existing(std::string_view operation, std::u16string_view name);

  Services& inner_;
  Files& files_;
  std::map<UString, Service> changed_;
};

/// Refuses: who previews reaches no server.
class NoDownloads final : public Downloads {
 public:
  std::uint32_t get(std::u16string_view url, DownloadLimits const& limits,
                    Sink const& sink) override;
};

/// Is always free.
class NoLock final : public MachineLock {
 public:
  std::shared_ptr<Held> acquire(std::chrono::milliseconds) override {
    return std::make_shared<Held>();
  }
};

}  // namespace machine::overlay
