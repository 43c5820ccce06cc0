#include "machine/windows/pipe_reader.hpp"

#include <windows.h>

#include <array>
#include <atomic>
#include <string>
#include <utility>

#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

constexpr DWORD bufferSize = 64 * 1024;

UniqueHandle makeEvent() {
  UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!event) {
    throw systemError("create an event", u"");
  }
  return event;
}

UString nextPipeName() {
  static std::atomic<unsigned> count = 0;
  return toUtf16("\\\\.\\pipe\\registration-commands-" + std::to_string(GetCurrentProcessId()) +
                 "-" + std::to_string(++count));
}

}  // namespace

OutputPipe makeOutputPipe() {
  // A pipe without a name can only be read in a way that nothing ends but the other side.
  UString const name = nextPipeName();
  OutputPipe pipe;
  pipe.ours.reset(orNull(CreateNamedPipeW(
      wide(name), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0,
      bufferSize, 0, nullptr)));
  if (!pipe.ours) {
    throw systemError("create the pipe", name);
  }
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  pipe.childs.reset(orNull(CreateFileW(wide(name), GENERIC_WRITE | FILE_READ_ATTRIBUTES, 0,
                                       &inheritable, OPEN_EXISTING, 0, nullptr)));
  if (!pipe.childs) {
    throw systemError("open the pipe", name);
  }
  return pipe;
}

PipeReader::PipeReader(UniqueHandle pipe, std::function<void(std::string_view)> reader)
    : pipe_(std::move(pipe)),
      stop_(makeEvent()),
      ready_(makeEvent()),
      reader_(std::move(reader)),
      thread_([this] { run(); }) {}

PipeReader::~PipeReader() {
  SetEvent(stop_.get());
  finish();
}

std::exception_ptr PipeReader::finish() {
  if (thread_.joinable()) {
    thread_.join();
  }
  return std::exchange(failure_, nullptr);
}

void PipeReader::run() {
  try {
    std::string buffer(bufferSize, '\0');
    std::string_view bytes;
    while (readSome(buffer, bytes)) {
      if (failure_ || bytes.empty()) {
        continue;
      }
      try {
        reader_(bytes);
      } catch (...) {
        failure_ = std::current_exception();
      }
    }
  } catch (...) {
    failure_ = std::current_exception();
  }
}

bool PipeReader::readSome(std::string& buffer, std::string_view& bytes) {
  OVERLAPPED operation{};
  operation.hEvent = ready_.get();
  if (!ReadFile(pipe_.get(), buffer.data(), static_cast<DWORD>(buffer.size()), nullptr,
                &operation) &&
      GetLastError() != ERROR_IO_PENDING) {
    endedWith(GetLastError());
    return false;
  }
  std::array<HANDLE, 2> const events{stop_.get(), ready_.get()};
  bool const isStopped = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(),
                                                FALSE, INFINITE) != WAIT_OBJECT_0 + 1;
  if (isStopped) {
    CancelIoEx(pipe_.get(), &operation);
  }
  // The system writes to `operation` and `buffer` until this has returned.
  DWORD count = 0;
  bool const isRead = GetOverlappedResult(pipe_.get(), &operation, &count, TRUE) != FALSE;
  if (!isRead && !isStopped) {
    endedWith(GetLastError());
  }
  bytes = std::string_view(buffer).substr(0, count);
  return isRead && !isStopped;
}

void PipeReader::endedWith(DWORD error) {
  if (error != ERROR_BROKEN_PIPE && !failure_) {
    failure_ = std::make_exception_ptr(systemError("read a child's output", u"", error));
  }
}

}  // namespace machine::windows
