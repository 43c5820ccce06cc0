#pragma once

#include <memory>

#include "fl/filesystem/path.hpp"
#include "machine/machine.hpp"

namespace benchmarks {

/// A machine to work on (the real one on Windows, a simulated one elsewhere) with an empty folder
/// on it, both gone afterwards.
class Sandbox {
 public:
  Sandbox();
  ~Sandbox();
  Sandbox(Sandbox const&) = delete;
  Sandbox& operator=(Sandbox const&) = delete;

 private:
  struct Host;
  std::unique_ptr<Host> host_;
};

/// The empty folder of the sandbox in use.
fl::filesystem::Path workFolder();

/// Makes a file with this content.
void makeFile(fl::filesystem::Path const& file, std::string_view content);

}  // namespace benchmarks
