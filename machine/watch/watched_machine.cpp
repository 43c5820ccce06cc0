#include "machine/watch/watched_machine.hpp"

#include "machine/command_line.hpp"
#include "machine/error.hpp"
#include "machine/forwarding.hpp"
#include "machine/watch/announcement.hpp"
#include "machine/watch/watched_paths.hpp"

namespace machine::watch {

namespace {

/// What every watched part needs.
struct Watch {
  Machine& machine;  ///< the one that is watched
  ObserverList observers;

  void handOver(HandOver const& handOver) const {
    for (auto* const observer : observers) observer->aboutToHandOver(handOver);
  }
};

class WatchedWriter final : public FileWriter {
 public:
  WatchedWriter(std::unique_ptr<Announcement> announcement, std::unique_ptr<FileWriter> inner)
      : announcement_(std::move(announcement)), inner_(std::move(inner)) {}

  void write(std::string_view bytes) override { inner_->write(bytes); }
  void flushToDisk() override { inner_->flushToDisk(); }
  void close() override {
    inner_->close();
    announcement_->end();
  }

 private:
  std::unique_ptr<Announcement> announcement_;  // outlives the open file
  std::unique_ptr<FileWriter> inner_;
};

class WatchedFiles final : public ForwardingFiles {
 public:
  explicit WatchedFiles(Watch const& watch)
      : ForwardingFiles(watch.machine.files()), watch_(watch) {}

  std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) override {
    auto announcement = announce({item(path)});
    auto writer = inner().openForWriting(path, mode);
    return std::make_unique<WatchedWriter>(std::move(announcement), std::move(writer));
  }
  void createDirectory(std::u16string_view path) override {
    if (inner().status(path)) return inner().createDirectory(path);
    announcing(watch_.observers, {folderItem(path)}, [&] { inner().createDirectory(path); });
  }
  Claim claimDirectory(std::u16string_view path) override {
    if (inner().status(path)) return inner().claimDirectory(path);
    return announcing(watch_.observers, {folderItem(path)},
                      [&] { return inner().claimDirectory(path); });
  }
  bool removeFile(std::u16string_view path) override {
    if (!inner().status(path)) return inner().removeFile(path);
    return announcing(watch_.observers, {item(path)}, [&] { return inner().removeFile(path); });
  }
  bool removeDirectory(std::u16string_view path) override {
    if (!inner().status(path)) return inner().removeDirectory(path);
    return announcing(watch_.observers, {item(path)},
                      [&] { return inner().removeDirectory(path); });
  }
  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override {
    auto const move = [&] { inner().rename(from, to, replaceExisting); };
    if (!inner().status(from)) return move();
    announcing(watch_.observers, renamedItems(watch_.machine, from, to), move);
  }
  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override {
    announcing(watch_.observers, {item(path)}, [&] { inner().setAttributes(path, attributes); });
  }
  void createLink(std::u16string_view path, Link const& link) override {
    announcing(watch_.observers, {item(path)}, [&] { inner().createLink(path, link); });
  }
  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override {
    if (inner().status(path)) return inner().lock(path, limit);
    return announcing(watch_.observers, {item(path)}, [&] { return inner().lock(path, limit); });
  }

 private:
  Item item(std::u16string_view path) const { return pathItem(watch_.machine, path); }
  Item folderItem(std::u16string_view path) const {
    auto folder = item(path);
    folder.kind = Item::Kind::folder;
    return folder;
  }
  std::unique_ptr<Announcement> announce(std::vector<Item> items) const {
    return std::make_unique<Announcement>(watch_.observers, std::move(items));
  }
  Watch const& watch_;
};

class WatchedRegistry final : public ForwardingRegistry {
 public:
  explicit WatchedRegistry(Watch const& watch)
      : ForwardingRegistry(watch.machine.registry()), watch_(watch) {}

  bool createKey(RegistryKey const& key) override {
    return announcing(watch_.observers, missingKeys(key), [&] { return inner().createKey(key); });
  }
  void setValue(RegistryKey const& key, std::u16string_view name,
                RegistryValue const& value) override {
    announcing(watch_.observers, settingItems(key, name),
               [&] { inner().setValue(key, name, value); });
  }
  void setText(RegistryKey const& key, std::u16string_view name,
               std::u16string_view text) override {
    announcing(watch_.observers, settingItems(key, name),
               [&] { inner().setText(key, name, text); });
  }
  bool removeValue(RegistryKey const& key, std::u16string_view name) override {
    if (!inner().value(key, name)) return inner().removeValue(key, name);
    return announcing(watch_.observers, {itemOf(key, name)},
                      [&] { return inner().removeValue(key, name); });
  }
  bool removeKey(RegistryKey const& key) override {
    auto const whole = keyOf(itemOf(key));
    // A root is removed by no machine, and telling all that is in it would take for ever.
    if (whole.path.empty() || !inner().keyExists(whole)) return inner().removeKey(key);
    std::vector<Item> items;
    addWithContents(whole, items);
    return announcing(watch_.observers, std::move(items), [&] { return inner().removeKey(key); });
  }
  bool removeEmptyKey(RegistryKey const& key) override {
    auto const whole = keyOf(itemOf(key));
    if (whole.path.empty() || !inner().keyExists(whole)) return inner().removeEmptyKey(key);
    return announcing(watch_.observers, {itemOf(whole)},
                      [&] { return inner().removeEmptyKey(key); });
  }

 private:
  /// The key and those above it that do not exist, from above.
  std::vector<Item> missingKeys(RegistryKey const& key) {
    std::vector<Item> missing;
    auto above = keyOf(itemOf(key));
    while (!above.path.empty() && !inner().keyExists(above)) {
      missing.insert(missing.begin(), itemOf(above));
      auto const separator = above.path.rfind(u'\\');
      above.path.erase(separator == UString::npos ? 0 : separator);
    }
    return missing;
  }
  std::vector<Item> settingItems(RegistryKey const& key, std::u16string_view name) {
    auto items = missingKeys(key);
    items.push_back(itemOf(key, name));
    return items;
  }
  void addWithContents(RegistryKey const& key, std::vector<Item>& items) {
    for (auto const& name : inner().subkeys(key)) {
      addWithContents({key.root, key.path + u'\\' + name}, items);
    }
    for (auto const& [name, value] : inner().values(key)) items.push_back(itemOf(key, name));
    items.push_back(itemOf(key));
  }
  Watch const& watch_;
};

class WatchedEnvironment final : public ForwardingEnvironment {
 public:
  explicit WatchedEnvironment(Watch const& watch)
      : ForwardingEnvironment(watch.machine.environment()), watch_(watch) {}

  std::optional<UString> variable(std::u16string_view name) override {
    return keepingError([&] { return inner().variable(name); });
  }
  bool setVariable(std::u16string_view name, std::u16string_view value) override {
    return changing(name, [&] { return inner().setVariable(name, value); });
  }
  bool removeVariable(std::u16string_view name) override {
    if (!inner().variable(name)) return keepingError([&] { return inner().removeVariable(name); });
    return changing(name, [&] { return inner().removeVariable(name); });
  }
  std::intptr_t broadcastSettingChange() override {
    return keepingError([&] { return inner().broadcastSettingChange(); });
  }
  std::uint32_t lastError() override { return lastError_; }

 private:
  /// Observers read variables too, which must not be what the caller hears of.
  template <class Call>
  std::invoke_result_t<Call> keepingError(Call&& call) {
    auto result = call();
    lastError_ = inner().lastError();
    return result;
  }
  template <class Call>
  bool changing(std::u16string_view name, Call&& call) {
    return announcing(watch_.observers, {{Item::Kind::variable, UString(name), {}}},
                      [&] { return keepingError(call); });
  }
  Watch const& watch_;
  std::uint32_t lastError_ = 0;
};

class WatchedShell final : public ForwardingShell {
 public:
  explicit WatchedShell(Watch const& watch)
      : ForwardingShell(watch.machine.shell()), watch_(watch) {}

  void writeShortcut(std::u16string_view path, Shortcut const& shortcut) override {
    auto item = pathItem(watch_.machine, path);
    item.kind = Item::Kind::shortcut;
    announcing(watch_.observers, {std::move(item)}, [&] { inner().writeShortcut(path, shortcut); });
  }

 private:
  Watch const& watch_;
};

/// A child whose output goes to files.
class WatchedChild final : public ChildProcess {
 public:
  WatchedChild(std::unique_ptr<Announcement> announcement, std::unique_ptr<ChildProcess> inner)
      : announcement_(std::move(announcement)), inner_(std::move(inner)) {}

  std::uint32_t wait() override {
    auto const exitCode = inner_->wait();
    announcement_->end();
    return exitCode;
  }
  void detach() override {
    inner_->detach();
    announcement_->end();
  }

 private:
  std::unique_ptr<Announcement> announcement_;
  std::unique_ptr<ChildProcess> inner_;
};

class WatchedProcesses final : public ForwardingProcesses {
 public:
  explicit WatchedProcesses(Watch const& watch)
      : ForwardingProcesses(watch.machine.processes()), watch_(watch) {}

  std::unique_ptr<ChildProcess> start(ProcessStart const& what) override {
    watch_.handOver({HandOver::Kind::program, what.program, commandLineOf(what)});
    auto items = outputFiles(what);
    if (items.empty()) return inner().start(what);
    auto announcement = std::make_unique<Announcement>(watch_.observers, std::move(items));
    auto child = inner().start(what);
    return std::make_unique<WatchedChild>(std::move(announcement), std::move(child));
  }
  bool shellExecute(std::u16string_view program, std::u16string_view parameters) override {
    watch_.handOver({HandOver::Kind::shellProgram, UString(program), UString(parameters)});
    return inner().shellExecute(program, parameters);
  }

 private:
  static UString commandLineOf(ProcessStart const& what) {
    UString line;
    for (auto const& argument : what.arguments) {
      line.append(line.empty() ? u"" : u" ").append(command_line::quoted(argument));
    }
    return line;
  }
  std::vector<Item> outputFiles(ProcessStart const& what) const {
    std::vector<Item> items;
    for (auto const* output : {&what.standardOutput, &what.standardError}) {
      if (output->kind == ProcessOutput::Kind::overwriteFile ||
          output->kind == ProcessOutput::Kind::appendFile) {
        items.push_back(pathItem(watch_.machine, output->file));
      }
    }
    return items;
  }
  Watch const& watch_;
};

class WatchedModules final : public ForwardingModules {
 public:
  explicit WatchedModules(Watch const& watch)
      : ForwardingModules(watch.machine.modules()), watch_(watch) {}

  ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                            std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override {
    watch_.handOver({HandOver::Kind::module, UString(module), toUtf16(entryPoint)});
    return inner().callEntryPoint(module, file, entryPoint, arguments);
  }
  bool admitBundles(std::u16string_view folder, std::vector<UString> const& modules) override {
    watch_.handOver({HandOver::Kind::bundles, UString(folder), {}});
    return inner().admitBundles(folder, modules);
  }

 private:
  Watch const& watch_;
};

class WatchedTasks final : public ForwardingTasks {
 public:
  explicit WatchedTasks(Watch const& watch)
      : ForwardingTasks(watch.machine.tasks()), watch_(watch) {}

  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override {
    announcing(watch_.observers, itemsMade(name),
               [&] { inner().createOrReplace(name, definition); });
  }
  void registerDocument(std::u16string_view name, std::u16string_view document) override {
    announcing(watch_.observers, itemsMade(name),
               [&] { inner().registerDocument(name, document); });
  }
  bool stopAndDisable(std::u16string_view name) override {
    if (!inner().task(name)) return inner().stopAndDisable(name);
    return announcing(watch_.observers, items(name), [&] { return inner().stopAndDisable(name); });
  }
  bool remove(std::u16string_view name) override {
    if (!inner().task(name)) return inner().remove(name);
    return announcing(watch_.observers, items(name), [&] { return inner().remove(name); });
  }
  bool removeFolder(std::u16string_view name) override {
    if (!inner().folderExists(name)) return inner().removeFolder(name);
    return announcing(watch_.observers, {{Item::Kind::taskFolder, UString(name), {}}},
                      [&] { return inner().removeFolder(name); });
  }

 private:
  static std::vector<Item> items(std::u16string_view name) {
    return {{Item::Kind::task, UString(name), {}}};
  }
  /// The task, behind the folders that are made with it.
  std::vector<Item> itemsMade(std::u16string_view name) {
    std::vector<Item> made;
    for (auto const& folder : taskFolders(name)) {
      if (!inner().folderExists(folder)) made.push_back({Item::Kind::taskFolder, folder, {}});
    }
    made.push_back({Item::Kind::task, UString(name), {}});
    return made;
  }
  Watch const& watch_;
};

class WatchedServices final : public ForwardingServices {
 public:
  explicit WatchedServices(Watch const& watch)
      : ForwardingServices(watch.machine.services()), watch_(watch) {}

  void set(std::u16string_view name, ServiceDefinition const& definition) override {
    announcing(watch_.observers, items(name), [&] { inner().set(name, definition); });
  }
  bool remove(std::u16string_view name) override {
    if (!inner().definition(name)) return inner().remove(name);
    return announcing(watch_.observers, items(name), [&] { return inner().remove(name); });
  }
  void start(std::u16string_view name, std::chrono::milliseconds timeout) override {
    if (!inner().definition(name)) return inner().start(name, timeout);
    announcing(watch_.observers, items(name), [&] { inner().start(name, timeout); });
  }
  void stop(std::u16string_view name, std::chrono::milliseconds timeout) override {
    if (!inner().definition(name)) return inner().stop(name, timeout);
    announcing(watch_.observers, items(name), [&] { inner().stop(name, timeout); });
  }

 private:
  static std::vector<Item> items(std::u16string_view name) {
    return {{Item::Kind::service, UString(name), {}}};
  }
  Watch const& watch_;
};

}  // namespace

struct WatchedMachine::Parts {
  explicit Parts(Watch toWatch) : watch(std::move(toWatch)) {}

  Watch watch;
  WatchedFiles files{watch};
  WatchedRegistry registry{watch};
  WatchedEnvironment environment{watch};
  WatchedShell shell{watch};
  WatchedProcesses processes{watch};
  WatchedModules modules{watch};
  WatchedTasks tasks{watch};
  WatchedServices services{watch};
};

WatchedMachine::WatchedMachine(Machine& inner, std::vector<ChangeObserver*> observers)
    : parts_(std::make_unique<Parts>(Watch{inner, std::move(observers)})) {}

WatchedMachine::~WatchedMachine() = default;

Files& WatchedMachine::files() {
  return parts_->files;
}

Registry& WatchedMachine::registry() {
  return parts_->registry;
}

Environment& WatchedMachine::environment() {
  return parts_->environment;
}

Shell& WatchedMachine::shell() {
  return parts_->shell;
}

Processes& WatchedMachine::processes() {
  return parts_->processes;
}

Modules& WatchedMachine::modules() {
  return parts_->modules;
}

Tasks& WatchedMachine::tasks() {
  return parts_->tasks;
}

Services& WatchedMachine::services() {
  return parts_->services;
}

Downloads& WatchedMachine::downloads() {
  return parts_->watch.machine.downloads();
}

Clock& WatchedMachine::clock() {
  return parts_->watch.machine.clock();
}

MachineLock& WatchedMachine::lock() {
  return parts_->watch.machine.lock();
}

}  // namespace machine::watch
