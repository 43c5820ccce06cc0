#include "bundles/desktopservicesetup/implementation/download.hpp"

#include <memory>

#include "bundles/desktopservicesetup/implementation/setup_failure.hpp"
#include "fl/filesystem/operations.hpp"
#include "machine/machine.hpp"
#include "machine/sha256.hpp"

namespace desktopservicesetup {

using Result = DesktopServiceSetupResult;

namespace {

/// A file that grows under another name, gone again unless it is moved into place. It is made, so
/// that nobody else has it open or owns it.
class PartialFile {
 public:
  explicit PartialFile(Path const& file) : file_(file), partial_(file.ustring() + u".part") {
    auto& files = machine::current().files();
    files.removeFile(partial_.ustring());
    writer_ = files.openForWriting(partial_.ustring(), machine::WriteMode::createNew);
  }
  ~PartialFile() {
    writer_.reset();
    try {
      machine::current().files().removeFile(partial_.ustring());
    } catch (std::exception const&) {
      // The whole folder is temporary.
    }
  }
  PartialFile(PartialFile const&) = delete;
  PartialFile& operator=(PartialFile const&) = delete;

  void write(std::string_view bytes) { writer_->write(bytes); }
  void moveIntoPlace() {
    writer_->flushToDisk();
    writer_->close();
    writer_.reset();
    fl::filesystem::rename(partial_.ustring(), file_.ustring());
  }

 private:
  Path file_;
  Path partial_;
  std::unique_ptr<machine::FileWriter> writer_;
};

std::uint32_t get(Download const& what, machine::DownloadLimits const& limits,
                  machine::Downloads::Sink const& sink) {
  try {
    return machine::current().downloads().get(fl::i18n::utf8_to_ustring(what.url), limits, sink);
  } catch (machine::SystemError const& failure) {
    bool const isTooLarge = failure.is(machine::ErrorCode::fileTooLarge);
    throw SetupFailure(isTooLarge ? Result::downloadRefused : Result::downloadFailed,
                       failure.what());
  }
}

}  // namespace

void downloadTo(Path const& file, Download const& what, machine::DownloadLimits const& limits) {
  auto const partial = during(Result::filesNotWritten, [&] {
    fl::filesystem::create_directories(file.parent_path());
    return std::make_unique<PartialFile>(file);
  });
  machine::Sha256 hash;
  std::uint64_t size = 0;
  auto fileLimits = limits;
  fileLimits.size = what.size;
  std::uint32_t const status = get(what, fileLimits, [&](std::string_view bytes) {
    hash.add(bytes);
    size += bytes.size();
    during(Result::filesNotWritten, [&] { partial->write(bytes); });
  });
  during(Result::downloadFailed, [&] { requireFound(status, what.url); });
  if (size != what.size || hash.finish() != what.sha256) {
    throw SetupFailure(Result::downloadRefused, what.url + " is not the file that was announced");
  }
  during(Result::filesNotWritten, [&] { partial->moveIntoPlace(); });
}

}  // namespace desktopservicesetup
