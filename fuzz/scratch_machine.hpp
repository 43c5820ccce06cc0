#pragma once

#include <string_view>

#include "machine/machine.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace fuzz {

/// The current machine of one input: new, with nothing but what a Windows begins with, and in
/// memory.
class ScratchMachine {
 public:
  machine::Machine& machine() { return overlay_; }

  void writeFile(std::u16string_view path, std::string_view bytes) {
    auto const writer = overlay_.files().openForWriting(path, machine::WriteMode::truncate);
    writer->write(bytes);
    writer->close();
  }

 private:
  /// Made once: it never changes.
  static machine::Machine& base() {
    static tests::TemporaryFolder const folder;
    static machine::simulated::SimulatedMachine machine(folder.path());
    return machine;
  }

  machine::overlay::OverlayMachine overlay_{base()};
  machine::ScopedMachine scope_{overlay_};
};

}  // namespace fuzz
