#include <windows.h>
// windows.h first
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <utility>

#include "machine/command_line.hpp"
#include "machine/host/own_way.hpp"
#include "machine/windows/guarded_path.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/pipe_reader.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/system_path.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using Kind = ProcessOutput::Kind;
using PipeReaders = std::vector<std::unique_ptr<PipeReader>>;

void requireSense(ProcessOutput const& output) {
  if (output.kind == Kind::pipe && !output.reader) {
    throw std::invalid_argument("a pipe needs a reader");
  }
  if ((output.kind == Kind::overwriteFile || output.kind == Kind::appendFile) &&
      output.file.empty()) {
    throw std::invalid_argument("output to a file needs the file's name");
  }
}

void requireSense(ProcessStart const& what) {
  if (what.standardOutput.kind == Kind::mergeWithOutput) {
    throw std::invalid_argument("standard output cannot be merged with itself");
  }
  requireSense(what.standardOutput);
  requireSense(what.standardError);
}

/// The system would have a batch file's arguments read by its command interpreter, which takes
/// parts of them as commands whatever their quotes.
bool isBatchFile(UString path) {
  path.resize(path.find_last_not_of(u". ") + 1);
  auto const extension =
      std::u16string_view(path).substr(path.size() - std::min<std::size_t>(path.size(), 4));
  return equalIgnoringCase(extension, u".bat") || equalIgnoringCase(extension, u".cmd");
}

UString programPath(ProcessStart const& what) {
  if (isBatchFile(fullPath("start", what.program))) {
    throw systemError("start", what.program, ERROR_BAD_EXE_FORMAT);
  }
  return systemPath("start", what.program);
}

UString commandLine(ProcessStart const& what) {
  bool const isSayable =
      what.program.find(u'"') == UString::npos && std::ranges::none_of(what.arguments, hasNul);
  if (!isSayable) {
    throw systemError("start", what.program, ERROR_INVALID_PARAMETER);
  }
  return command_line::join(what.program, what.arguments);
}

UniqueHandle nowhere() {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  UniqueHandle device(
      orNull(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                         &inheritable, OPEN_EXISTING, 0, nullptr)));
  if (!device) {
    throw systemError("open for a child's output", u"NUL");
  }
  return device;
}

UniqueHandle outputFile(std::u16string_view path, WriteMode mode) {
  constexpr auto operation = "open for a child's output";
  auto file =
      refusingUntrusted(operation, path, [&] { return openForWriting(operation, path, mode); });
  if (!SetHandleInformation(file.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) {
    throw systemError(operation, path);
  }
  return file;
}

/// A copy of this process's own that the child can inherit; a program without a console has none.
UniqueHandle ownStandardHandle(DWORD which) {
  HANDLE copy = nullptr;
  HANDLE const own = orNull(GetStdHandle(which));
  bool const isCopied = own && DuplicateHandle(GetCurrentProcess(), own, GetCurrentProcess(), &copy,
                                               0, TRUE, DUPLICATE_SAME_ACCESS);
  return isCopied ? UniqueHandle(copy) : nowhere();
}

UniqueHandle pipeTo(ProcessOutput const& output, PipeReaders& readers) {
  OutputPipe pipe = makeOutputPipe();
  readers.push_back(std::make_unique<PipeReader>(std::move(pipe.ours), output.reader));
  return std::move(pipe.childs);
}

/// The child's end of an output; null for the merged one.
UniqueHandle openOutput(ProcessOutput const& output, DWORD inherited, PipeReaders& readers) {
  switch (output.kind) {
    case Kind::inherit:
      return ownStandardHandle(inherited);
    case Kind::pipe:
      return pipeTo(output, readers);
    case Kind::overwriteFile:
      return outputFile(output.file, WriteMode::truncate);
    case Kind::appendFile:
      return outputFile(output.file, WriteMode::append);
    case Kind::discard:
      return nowhere();
    case Kind::mergeWithOutput:
      break;
  }
  return nullptr;
}

/// The list of the only handles that a child inherits. `handles` must outlive it.
class InheritedHandles {
 public:
  InheritedHandles(HANDLE* handles, std::size_t count) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory_.resize(size / sizeof(std::max_align_t) + 1);
    auto const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) {
      throw systemError("list the handles for a child", u"");
    }
    list_.reset(list);
    if (!UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles,
                                   count * sizeof(HANDLE), nullptr, nullptr)) {
      throw systemError("list the handles for a child", u"");
    }
  }

  LPPROC_THREAD_ATTRIBUTE_LIST get() const { return list_.get(); }

 private:
  std::vector<std::max_align_t> memory_;
  UniqueAttributes list_;
};

/// DETACHED_PROCESS already means that there is no console and so no window; the system refuses to
/// take both flags together.
DWORD creationFlags(ProcessStart const& what) {
  DWORD const console =
      what.detached ? DETACHED_PROCESS : (what.noWindow ? CREATE_NO_WINDOW : DWORD{0});
  return console | EXTENDED_STARTUPINFO_PRESENT;
}

class WindowsChildProcess final : public ChildProcess {
 public:
  WindowsChildProcess(UString program, UniqueHandle process, PipeReaders readers)
      : program_(std::move(program)), process_(std::move(process)), readers_(std::move(readers)) {}

  std::uint32_t wait() override {
    DWORD code = 0;
    if (WaitForSingleObject(process_.get(), INFINITE) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(process_.get(), &code)) {
      throw systemError("wait for", program_);
    }
    std::exception_ptr failure;
    for (auto const& reader : readers_) {
      auto const ended = reader->finish();
      failure = failure ? failure : ended;
    }
    if (failure) {
      std::rethrow_exception(failure);
    }
    return code;
  }

  void detach() override { readers_.clear(); }

 private:
  UString program_;
  UniqueHandle process_;
  PipeReaders readers_;
};

class WindowsProcesses final : public Processes {
 public:
  std::unique_ptr<ChildProcess> start(ProcessStart const& what) override {
    requireSense(what);
    UString const program = programPath(what);
    UString line = commandLine(what);

    PipeReaders readers;
    UniqueHandle const input = ownStandardHandle(STD_INPUT_HANDLE);
    UniqueHandle const output = openOutput(what.standardOutput, STD_OUTPUT_HANDLE, readers);
    UniqueHandle const error = openOutput(what.standardError, STD_ERROR_HANDLE, readers);
    std::array<HANDLE, 3> handles{input.get(), output.get(), error.get()};
    InheritedHandles const inherited(handles.data(), error ? 3 : 2);

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = input.get();
    startup.StartupInfo.hStdOutput = output.get();
    startup.StartupInfo.hStdError = error ? error.get() : output.get();
    startup.lpAttributeList = inherited.get();

    PROCESS_INFORMATION created{};
    if (!CreateProcessW(wide(program), wideBuffer(line), nullptr, nullptr, TRUE,
                        creationFlags(what), nullptr, nullptr, &startup.StartupInfo, &created)) {
      throw systemError("start", what.program);
    }
    UniqueHandle const thread(created.hThread);
    return std::make_unique<WindowsChildProcess>(what.program, UniqueHandle(created.hProcess),
                                                 std::move(readers));
  }

  bool shellExecute(std::u16string_view program, std::u16string_view parameters) override {
    if (hasNul(program) || hasNul(parameters)) {
      return false;
    }
    UString const file(program);
    UString const text(parameters);
    SHELLEXECUTEINFOW info{};
    static_assert(sizeof info == 112);
    info.cbSize = sizeof info;
    info.fMask = 0;
    info.lpVerb = L"open";
    info.lpFile = wide(file);
    info.lpParameters = wide(text);
    info.nShow = SW_HIDE;
    bool const opened = ShellExecuteExW(&info) != FALSE;
    if (opened) {
      // Mask 0 asks for no process handle. It stays null, so that this does not wait for the
      // program, which is what callers count on.
      WaitForSingleObject(info.hProcess, INFINITE);
      CloseHandle(info.hProcess);
    }
    return opened;
  }
};

}  // namespace

std::unique_ptr<Processes> makeProcesses() {
  return std::make_unique<WindowsProcesses>();
}

}  // namespace machine::windows
