#pragma once

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "machine/windows/handles.hpp"

namespace machine::windows {

/// A pipe's two ends. The child's end can be inherited, ours cannot, and reads from it can be given
/// up.
struct OutputPipe {
  UniqueHandle ours;
  UniqueHandle childs;
};

/// Throws SystemError.
OutputPipe makeOutputPipe();

/// Hands what comes out of a pipe to `reader`, on a thread of its own.
class PipeReader {
 public:
  /// `pipe`: our end of an OutputPipe.
  PipeReader(UniqueHandle pipe, std::function<void(std::string_view)> reader);
  /// Stops reading; `reader` is not called any more.
  ~PipeReader();
  PipeReader(PipeReader const&) = delete;
  PipeReader& operator=(PipeReader const&) = delete;

  /// Waits until nobody has the other end open any more. What `reader` or the pipe failed with, or
  /// null; after a failure the rest was read and dropped, so that the child could go on.
  std::exception_ptr finish();

 private:
  void run();
  /// The number of bytes, or nothing at the end of the pipe and when this is to stop.
  bool readSome(std::string& buffer, std::string_view& bytes);
  void endedWith(DWORD error);

  UniqueHandle pipe_;
  UniqueHandle stop_;   ///< event: stop reading
  UniqueHandle ready_;  ///< event: a read has ended
  std::function<void(std::string_view)> reader_;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace machine::windows
