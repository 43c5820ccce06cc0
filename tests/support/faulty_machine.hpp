#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "machine/forwarding.hpp"

namespace tests {

/// Counts a machine's operations and decides which of them fail.
class Faults {
 public:
  /// `operation` is the name in the interface, "openForReading" or, of what an operation handed
  /// out, "FileReader::read"; `subject` its path, key, name or program.
  using Predicate = std::function<bool(std::string_view operation, std::u16string_view subject)>;

  /// The n-th operation from now on, counted from 1, fails with `code`, and no other.
  void failAt(std::size_t n, machine::ErrorCode code) {
    count_ = 0;
    failAt_ = n;
    code_ = code;
  }
  /// Every operation that `predicate` picks fails with `code`.
  void failWhen(Predicate predicate, machine::ErrorCode code) {
    predicate_ = std::move(predicate);
    code_ = code;
  }
  void failNever() {
    failAt_ = 0;
    predicate_ = nullptr;
  }

  /// How many operations there were since the start or the last failAt.
  std::size_t count() const { return count_; }
  /// Their names, in order, since the start.
  std::vector<std::string> const& operations() const { return operations_; }

  /// Counts one operation; true when it is to fail.
  bool next(std::string_view operation, std::u16string_view subject) {
    operations_.emplace_back(operation);
    return ++count_ == failAt_ || (predicate_ && predicate_(operation, subject));
  }
  /// Counts one operation and throws SystemError when it is to fail.
  void check(std::string_view operation, std::u16string_view subject) {
    if (next(operation, subject)) throw machine::SystemError(operation, subject, code_);
  }
  machine::ErrorCode code() const { return code_; }

 private:
  std::size_t count_ = 0;
  std::size_t failAt_ = 0;
  Predicate predicate_;
  machine::ErrorCode code_ = machine::ErrorCode::ioDevice;
  std::vector<std::string> operations_;
};

class FaultyDirectoryStream final : public machine::DirectoryStream {
 public:
  FaultyDirectoryStream(std::unique_ptr<DirectoryStream> inner, Faults& faults,
                        std::u16string_view path)
      : inner_(std::move(inner)), faults_(faults), path_(path) {}
  bool next(machine::DirectoryEntry& entry) override {
    faults_.check("DirectoryStream::next", path_);
    return inner_->next(entry);
  }

 private:
  std::unique_ptr<DirectoryStream> inner_;
  Faults& faults_;
  machine::UString path_;
};

class FaultyReader final : public machine::FileReader {
 public:
  FaultyReader(std::unique_ptr<FileReader> inner, Faults& faults, std::u16string_view path)
      : inner_(std::move(inner)), faults_(faults), path_(path) {}
  std::size_t read(std::span<char> buffer) override {
    faults_.check("FileReader::read", path_);
    return inner_->read(buffer);
  }
  void seek(std::uint64_t position) override {
    faults_.check("FileReader::seek", path_);
    inner_->seek(position);
  }
  machine::ForeignAccess foreignAccess() override {
    faults_.check("FileReader::foreignAccess", path_);
    return inner_->foreignAccess();
  }

 private:
  std::unique_ptr<FileReader> inner_;
  Faults& faults_;
  machine::UString path_;
};

class FaultyWriter final : public machine::FileWriter {
 public:
  FaultyWriter(std::unique_ptr<FileWriter> inner, Faults& faults, std::u16string_view path)
      : inner_(std::move(inner)), faults_(faults), path_(path) {}
  void write(std::string_view bytes) override {
    faults_.check("FileWriter::write", path_);
    inner_->write(bytes);
  }
  void flushToDisk() override {
    faults_.check("FileWriter::flushToDisk", path_);
    inner_->flushToDisk();
  }
  void close() override {
    inner_->close();
    faults_.check("FileWriter::close", path_);
  }

 private:
  std::unique_ptr<FileWriter> inner_;
  Faults& faults_;
  machine::UString path_;
};

class FaultyFiles final : public machine::ForwardingFiles {
 public:
  FaultyFiles(Files& inner, Faults& faults) : ForwardingFiles(inner), faults_(faults) {}

  std::optional<machine::FileStatus> status(std::u16string_view path) override {
    faults_.check("status", path);
    return inner().status(path);
  }
  std::unique_ptr<machine::DirectoryStream> openDirectory(std::u16string_view path) override {
    faults_.check("openDirectory", path);
    return std::make_unique<FaultyDirectoryStream>(inner().openDirectory(path), faults_, path);
  }
  std::unique_ptr<machine::FileReader> openForReading(std::u16string_view path) override {
    faults_.check("openForReading", path);
    return std::make_unique<FaultyReader>(inner().openForReading(path), faults_, path);
  }
  std::unique_ptr<machine::FileWriter> openForWriting(std::u16string_view path,
                                                      machine::WriteMode mode) override {
    faults_.check("openForWriting", path);
    return std::make_unique<FaultyWriter>(inner().openForWriting(path, mode), faults_, path);
  }
  void createDirectory(std::u16string_view path) override {
    faults_.check("createDirectory", path);
    inner().createDirectory(path);
  }
  machine::Claim claimDirectory(std::u16string_view path) override {
    faults_.check("claimDirectory", path);
    return inner().claimDirectory(path);
  }
  machine::ForeignAccess foreignAccess(std::u16string_view path) override {
    faults_.check("foreignAccess", path);
    return inner().foreignAccess(path);
  }
  bool removeFile(std::u16string_view path) override {
    faults_.check("removeFile", path);
    return inner().removeFile(path);
  }
  bool removeDirectory(std::u16string_view path) override {
    faults_.check("removeDirectory", path);
    return inner().removeDirectory(path);
  }
  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override {
    faults_.check("rename", from);
    inner().rename(from, to, replaceExisting);
  }
  void setAttributes(std::u16string_view path, machine::FileAttributes const& attributes) override {
    faults_.check("setAttributes", path);
    inner().setAttributes(path, attributes);
  }
  std::optional<machine::Link> link(std::u16string_view path) override {
    faults_.check("link", path);
    return inner().link(path);
  }
  void createLink(std::u16string_view path, machine::Link const& link) override {
    faults_.check("createLink", path);
    inner().createLink(path, link);
  }
  machine::UString currentDirectory() override {
    faults_.check("currentDirectory", u"");
    return inner().currentDirectory();
  }
  /// Fails by returning false.
  bool setCurrentDirectory(std::u16string_view path) override {
    return !faults_.next("setCurrentDirectory", path) && inner().setCurrentDirectory(path);
  }
  /// Fails by returning nullopt.
  std::optional<machine::FileVersion> fileVersion(std::u16string_view path) override {
    if (faults_.next("fileVersion", path)) return std::nullopt;
    return inner().fileVersion(path);
  }
  /// Letting go of the lock does not fail.
  std::unique_ptr<machine::FileLock> lock(std::u16string_view path,
                                          std::chrono::milliseconds limit) override {
    faults_.check("lock", path);
    return inner().lock(path, limit);
  }

 private:
  Faults& faults_;
};

class FaultyRegistry final : public machine::ForwardingRegistry {
 public:
  FaultyRegistry(Registry& inner, Faults& faults) : ForwardingRegistry(inner), faults_(faults) {}

  bool createKey(machine::RegistryKey const& key) override {
    faults_.check("createKey", key.path);
    return inner().createKey(key);
  }
  bool keyExists(machine::RegistryKey const& key) override {
    faults_.check("keyExists", key.path);
    return inner().keyExists(key);
  }
  std::optional<machine::RegistryValue> value(machine::RegistryKey const& key,
                                              std::u16string_view name) override {
    faults_.check("value", key.path);
    return inner().value(key, name);
  }
  void setValue(machine::RegistryKey const& key, std::u16string_view name,
                machine::RegistryValue const& value) override {
    faults_.check("setValue", key.path);
    inner().setValue(key, name, value);
  }
  bool removeValue(machine::RegistryKey const& key, std::u16string_view name) override {
    faults_.check("removeValue", key.path);
    return inner().removeValue(key, name);
  }
  bool removeKey(machine::RegistryKey const& key) override {
    faults_.check("removeKey", key.path);
    return inner().removeKey(key);
  }
  bool removeEmptyKey(machine::RegistryKey const& key) override {
    faults_.check("removeEmptyKey", key.path);
    return inner().removeEmptyKey(key);
  }
  std::vector<machine::UString> subkeys(machine::RegistryKey const& key) override {
    faults_.check("subkeys", key.path);
    return inner().subkeys(key);
  }
  std::vector<std::pair<machine::UString, machine::RegistryValue>> values(
      machine::RegistryKey const& key) override {
    faults_.check("values", key.path);
    return inner().values(key);
  }

 private:
  Faults& faults_;
};

class FaultyEnvironment final : public machine::ForwardingEnvironment {
 public:
  FaultyEnvironment(Environment& inner, Faults& faults)
      : ForwardingEnvironment(inner), faults_(faults) {}

  std::optional<machine::UString> variable(std::u16string_view name) override {
    failed_ = false;
    faults_.check("variable", name);
    return inner().variable(name);
  }
  /// Fails by returning false; lastError() then gives the fault's code.
  bool setVariable(std::u16string_view name, std::u16string_view value) override {
    failed_ = faults_.next("setVariable", name);
    return !failed_ && inner().setVariable(name, value);
  }
  bool removeVariable(std::u16string_view name) override {
    failed_ = faults_.next("removeVariable", name);
    return !failed_ && inner().removeVariable(name);
  }
  /// Fails by returning 0.
  std::intptr_t broadcastSettingChange() override {
    failed_ = faults_.next("broadcastSettingChange", u"Environment");
    if (failed_) return 0;
    auto const result = inner().broadcastSettingChange();
    return broadcastResult.value_or(result);
  }
  /// Not counted: it only tells about the operation before.
  std::uint32_t lastError() override {
    return failed_ ? static_cast<std::uint32_t>(faults_.code()) : inner().lastError();
  }

  /// What broadcastSettingChange returns in place of the inner machine's result.
  std::optional<std::intptr_t> broadcastResult;

 private:
  Faults& faults_;
  bool failed_ = false;
};

class FaultyShell final : public machine::ForwardingShell {
 public:
  FaultyShell(Shell& inner, Faults& faults) : ForwardingShell(inner), faults_(faults) {}

  machine::UString knownFolder(machine::KnownFolder folder) override {
    faults_.check("knownFolder", u"");
    return inner().knownFolder(folder);
  }
  void writeShortcut(std::u16string_view path, machine::Shortcut const& shortcut) override {
    faults_.check("writeShortcut", path);
    inner().writeShortcut(path, shortcut);
  }
  std::optional<machine::Shortcut> readShortcut(std::u16string_view path) override {
    faults_.check("readShortcut", path);
    return inner().readShortcut(path);
  }
  void announceAssociationsChanged() override {
    faults_.check("announceAssociationsChanged", u"");
    inner().announceAssociationsChanged();
  }

 private:
  Faults& faults_;
};

class FaultyChild final : public machine::ChildProcess {
 public:
  FaultyChild(std::unique_ptr<ChildProcess> inner, Faults& faults, std::u16string_view program)
      : inner_(std::move(inner)), faults_(faults), program_(program) {}
  std::uint32_t wait() override {
    faults_.check("ChildProcess::wait", program_);
    return inner_->wait();
  }
  void detach() override {
    faults_.check("ChildProcess::detach", program_);
    inner_->detach();
  }

 private:
  std::unique_ptr<ChildProcess> inner_;
  Faults& faults_;
  machine::UString program_;
};

class FaultyProcesses final : public machine::ForwardingProcesses {
 public:
  FaultyProcesses(Processes& inner, Faults& faults) : ForwardingProcesses(inner), faults_(faults) {}

  std::unique_ptr<machine::ChildProcess> start(machine::ProcessStart const& what) override {
    faults_.check("start", what.program);
    return std::make_unique<FaultyChild>(inner().start(what), faults_, what.program);
  }
  /// Fails by returning false.
  bool shellExecute(std::u16string_view program, std::u16string_view parameters) override {
    return !faults_.next("shellExecute", program) && inner().shellExecute(program, parameters);
  }

 private:
  Faults& faults_;
};

class FaultyModules final : public machine::ForwardingModules {
 public:
  FaultyModules(Modules& inner, Faults& faults) : ForwardingModules(inner), faults_(faults) {}

  /// Fails as an entry point does that throws.
  machine::ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                                     std::string const& entryPoint,
                                     std::array<std::string, 3> const& arguments) override {
    faults_.check("callEntryPoint", module);
    return inner().callEntryPoint(module, file, entryPoint, arguments);
  }
  bool admitBundles(std::u16string_view folder,
                    std::vector<machine::UString> const& modules) override {
    faults_.check("admitBundles", folder);
    return inner().admitBundles(folder, modules);
  }

 private:
  Faults& faults_;
};

class FaultyTasks final : public machine::ForwardingTasks {
 public:
  FaultyTasks(Tasks& inner, Faults& faults) : ForwardingTasks(inner), faults_(faults) {}

  std::optional<machine::TaskDefinition> task(std::u16string_view name) override {
    faults_.check("task", name);
    return inner().task(name);
  }
  void createOrReplace(std::u16string_view name,
                       machine::TaskDefinition const& definition) override {
    faults_.check("createOrReplace", name);
    inner().createOrReplace(name, definition);
  }
  std::optional<machine::UString> document(std::u16string_view name) override {
    faults_.check("document", name);
    return inner().document(name);
  }
  void registerDocument(std::u16string_view name, std::u16string_view document) override {
    faults_.check("registerDocument", name);
    inner().registerDocument(name, document);
  }
  bool stopAndDisable(std::u16string_view name) override {
    faults_.check("stopAndDisable", name);
    return inner().stopAndDisable(name);
  }
  bool remove(std::u16string_view name) override {
    faults_.check("remove", name);
    return inner().remove(name);
  }
  bool folderExists(std::u16string_view name) override {
    faults_.check("folderExists", name);
    return inner().folderExists(name);
  }
  bool removeFolder(std::u16string_view name) override {
    faults_.check("removeFolder", name);
    return inner().removeFolder(name);
  }

 private:
  Faults& faults_;
};

class FaultyServices final : public machine::ForwardingServices {
 public:
  FaultyServices(Services& inner, Faults& faults) : ForwardingServices(inner), faults_(faults) {}

  std::optional<machine::ServiceDefinition> definition(std::u16string_view name) override {
    faults_.check("Services::definition", name);
    return inner().definition(name);
  }
  std::optional<machine::ServiceState> state(std::u16string_view name) override {
    faults_.check("Services::state", name);
    return inner().state(name);
  }
  void set(std::u16string_view name, machine::ServiceDefinition const& definition) override {
    faults_.check("Services::set", name);
    inner().set(name, definition);
  }
  bool remove(std::u16string_view name) override {
    faults_.check("Services::remove", name);
    return inner().remove(name);
  }
  void start(std::u16string_view name, std::chrono::milliseconds timeout) override {
    faults_.check("Services::start", name);
    inner().start(name, timeout);
  }
  void stop(std::u16string_view name, std::chrono::milliseconds timeout) override {
    faults_.check("Services::stop", name);
    inner().stop(name, timeout);
  }

 private:
  Faults& faults_;
};

class FaultyDownloads final : public machine::ForwardingDownloads {
 public:
  FaultyDownloads(Downloads& inner, Faults& faults) : ForwardingDownloads(inner), faults_(faults) {}

  /// A failing download has handed its whole body to the sink.
  std::uint32_t get(std::u16string_view url, machine::DownloadLimits const& limits,
                    Sink const& sink) override {
    auto const status = inner().get(url, limits, sink);
    faults_.check("Downloads::get", url);
    return status;
  }

 private:
  Faults& faults_;
};

/// Another machine whose operations fail on demand. What it handed out must not outlive it.
class FaultyMachine final : public machine::Machine {
 public:
  /// `inner` must outlive this object.
  explicit FaultyMachine(machine::Machine& inner)
      : files_(inner.files(), faults_),
        registry_(inner.registry(), faults_),
        environment_(inner.environment(), faults_),
        shell_(inner.shell(), faults_),
        processes_(inner.processes(), faults_),
        modules_(inner.modules(), faults_),
        tasks_(inner.tasks(), faults_),
        services_(inner.services(), faults_),
        downloads_(inner.downloads(), faults_),
        clock_(inner.clock()),
        lock_(inner.lock()) {}

  Faults& faults() { return faults_; }
  void setBroadcastResult(std::intptr_t result) { environment_.broadcastResult = result; }

  machine::Files& files() override { return files_; }
  machine::Registry& registry() override { return registry_; }
  machine::Environment& environment() override { return environment_; }
  machine::Shell& shell() override { return shell_; }
  machine::Processes& processes() override { return processes_; }
  machine::Modules& modules() override { return modules_; }
  machine::Tasks& tasks() override { return tasks_; }
  machine::Services& services() override { return services_; }
  machine::Downloads& downloads() override { return downloads_; }
  machine::Clock& clock() override { return clock_; }
  machine::MachineLock& lock() override { return lock_; }

 private:
  Faults faults_;
  FaultyFiles files_;
  FaultyRegistry registry_;
  FaultyEnvironment environment_;
  FaultyShell shell_;
  FaultyProcesses processes_;
  FaultyModules modules_;
  FaultyTasks tasks_;
  FaultyServices services_;
  FaultyDownloads downloads_;
  machine::Clock& clock_;
  machine::MachineLock& lock_;
};

}  // namespace tests
