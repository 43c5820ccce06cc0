#pragma once

#include "machine/machine.hpp"

/// Parts that pass every call on to another machine's. A decorator derives from the part it watches
/// or changes and overrides only those operations.
namespace machine {

class ForwardingFiles : public Files {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingFiles(Files& inner) : inner_(inner) {}

  std::optional<FileStatus> status(std::u16string_view path) override {
    return inner_.status(path);
  }
  std::unique_ptr<DirectoryStream> openDirectory(std::u16string_view path) override {
    return inner_.openDirectory(path);
  }
  std::unique_ptr<FileReader> openForReading(std::u16string_view path) override {
    return inner_.openForReading(path);
  }
  std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) override {
    return inner_.openForWriting(path, mode);
  }
  void createDirectory(std::u16string_view path) override { inner_.createDirectory(path); }
  Claim claimDirectory(std::u16string_view path) override { return inner_.claimDirectory(path); }
  ForeignAccess foreignAccess(std::u16string_view path) override {
    return inner_.foreignAccess(path);
  }
  bool removeFile(std::u16string_view path) override { return inner_.removeFile(path); }
  bool removeDirectory(std::u16string_view path) override { return inner_.removeDirectory(path); }
  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override {
    inner_.rename(from, to, replaceExisting);
  }
  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override {
    inner_.setAttributes(path, attributes);
  }
  std::optional<Link> link(std::u16string_view path) override { return inner_.link(path); }
  void createLink(std::u16string_view path, Link const& link) override {
    inner_.createLink(path, link);
  }
  UString currentDirectory() override { return inner_.currentDirectory(); }
  bool setCurrentDirectory(std::u16string_view path) override {
    return inner_.setCurrentDirectory(path);
  }
  std::optional<FileVersion> fileVersion(std::u16string_view path) override {
    return inner_.fileVersion(path);
  }
  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override {
    return inner_.lock(path, limit);
  }

 protected:
  Files& inner() { return inner_; }

 private:
  Files& inner_;
};

/// setText is not passed on: it works through createKey, value and setValue, so that a decorator
/// that replaced one of these sees its calls.
class ForwardingRegistry : public Registry {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingRegistry(Registry& inner) : inner_(inner) {}

  bool createKey(RegistryKey const& key) override { return inner_.createKey(key); }
  bool keyExists(RegistryKey const& key) override { return inner_.keyExists(key); }
  std::optional<RegistryValue> value(RegistryKey const& key, std::u16string_view name) override {
    return inner_.value(key, name);
  }
  void setValue(RegistryKey const& key, std::u16string_view name,
                RegistryValue const& value) override {
    inner_.setValue(key, name, value);
  }
  bool removeValue(RegistryKey const& key, std::u16string_view name) override {
    return inner_.removeValue(key, name);
  }
  bool removeKey(RegistryKey const& key) override { return inner_.removeKey(key); }
  bool removeEmptyKey(RegistryKey const& key) override { return inner_.removeEmptyKey(key); }
  std::vector<UString> subkeys(RegistryKey const& key) override { return inner_.subkeys(key); }
  std::vector<std::pair<UString, RegistryValue>> values(RegistryKey const& key) override {
    return inner_.values(key);
  }

 protected:
  Registry& inner() { return inner_; }

 private:
  Registry& inner_;
};

class ForwardingEnvironment : public Environment {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingEnvironment(Environment& inner) : inner_(inner) {}

  std::optional<UString> variable(std::u16string_view name) override {
    return inner_.variable(name);
  }
  bool setVariable(std::u16string_view name, std::u16string_view value) override {
    return inner_.setVariable(name, value);
  }
  bool removeVariable(std::u16string_view name) override { return inner_.removeVariable(name); }
  std::intptr_t broadcastSettingChange() override { return inner_.broadcastSettingChange(); }
  std::uint32_t lastError() override { return inner_.lastError(); }
  UString account() override { return inner_.account(); }

 protected:
  Environment& inner() { return inner_; }

 private:
  Environment& inner_;
};

class ForwardingShell : public Shell {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingShell(Shell& inner) : inner_(inner) {}

  UString knownFolder(KnownFolder folder) override { return inner_.knownFolder(folder); }
  void writeShortcut(std::u16string_view path, Shortcut const& shortcut) override {
    inner_.writeShortcut(path, shortcut);
  }
  std::optional<Shortcut> readShortcut(std::u16string_view path) override {
    return inner_.readShortcut(path);
  }
  void announceAssociationsChanged() override { inner_.announceAssociationsChanged(); }

 protected:
  Shell& inner() { return inner_; }

 private:
  Shell& inner_;
};

class ForwardingProcesses : public Processes {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingProcesses(Processes& inner) : inner_(inner) {}

  std::unique_ptr<ChildProcess> start(ProcessStart const& what) override {
    return inner_.start(what);
  }
  bool shellExecute(std::u16string_view program, std::u16string_view parameters) override {
    return inner_.shellExecute(program, parameters);
  }

 protected:
  Processes& inner() { return inner_; }

 private:
  Processes& inner_;
};

class ForwardingModules : public Modules {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingModules(Modules& inner) : inner_(inner) {}

  ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                            std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override {
    return inner_.callEntryPoint(module, file, entryPoint, arguments);
  }
  bool admitBundles(std::u16string_view folder, std::vector<UString> const& modules) override {
    return inner_.admitBundles(folder, modules);
  }

 protected:
  Modules& inner() { return inner_; }

 private:
  Modules& inner_;
};

class ForwardingTasks : public Tasks {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingTasks(Tasks& inner) : inner_(inner) {}

  std::optional<TaskDefinition> task(std::u16string_view name) override {
    return inner_.task(name);
  }
  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override {
    inner_.createOrReplace(name, definition);
  }
  std::optional<UString> document(std::u16string_view name) override {
    return inner_.document(name);
  }
  void registerDocument(std::u16string_view name, std::u16string_view document) override {
    inner_.registerDocument(name, document);
  }
  bool stopAndDisable(std::u16string_view name) override { return inner_.stopAndDisable(name); }
  bool remove(std::u16string_view name) override { return inner_.remove(name); }
  bool folderExists(std::u16string_view name) override { return inner_.folderExists(name); }
  bool removeFolder(std::u16string_view name) override { return inner_.removeFolder(name); }

 protected:
  Tasks& inner() { return inner_; }

 private:
  Tasks& inner_;
};

class ForwardingServices : public Services {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingServices(Services& inner) : inner_(inner) {}

  std::optional<ServiceDefinition> definition(std::u16string_view name) override {
    return inner_.definition(name);
  }
  std::optional<ServiceState> state(std::u16string_view name) override {
    return inner_.state(name);
  }
  void set(std::u16string_view name, ServiceDefinition const& definition) override {
    inner_.set(name, definition);
  }
  bool remove(std::u16string_view name) override { return inner_.remove(name); }
  void start(std::u16string_view name, std::chrono::milliseconds timeout) override {
    inner_.start(name, timeout);
  }
  void stop(std::u16string_view name, std::chrono::milliseconds timeout) override {
    inner_.stop(name, timeout);
  }

 protected:
  Services& inner() { return inner_; }

 private:
  Services& inner_;
};

class ForwardingDownloads : public Downloads {
 public:
  /// `inner` must outlive this object.
  explicit ForwardingDownloads(Downloads& inner) : inner_(inner) {}

  std::uint32_t get(std::u16string_view url, DownloadLimits const& limits,
                    Sink const& sink) override {
    return inner_.get(url, limits, sink);
  }

 protected:
  Downloads& inner() { return inner_; }

 private:
  Downloads& inner_;
};

}  // namespace machine
