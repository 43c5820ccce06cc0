#include "machine/simulated/simulated_lock.hpp"

#include <system_error>
#include <thread>
#include <utility>

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"

namespace machine::simulated {

namespace {

void await(HostFile& file, std::u16string_view name, std::chrono::milliseconds limit) {
  auto const end = std::chrono::steady_clock::now() + limit;
  while (!file.tryLock()) {
    if (std::chrono::steady_clock::now() >= end) {
      throw SystemError("lock the machine", name, ErrorCode::timeout);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace

class SimulatedLock::HeldFile final : public Held {
 public:
  HeldFile(std::unique_ptr<HostFile> file, std::function<void()> letGo)
      : file_(std::move(file)), letGo_(std::move(letGo)) {}
  ~HeldFile() override { letGo_(); }
  HeldFile(HeldFile const&) = delete;
  HeldFile& operator=(HeldFile const&) = delete;

 private:
  std::unique_ptr<HostFile> file_;
  std::function<void()> letGo_;
};

SimulatedLock::SimulatedLock(std::filesystem::path file, std::function<void()> acquired,
                             std::function<void()> letGo)
    : file_(std::move(file)), acquired_(std::move(acquired)), letGo_(std::move(letGo)) {}

std::unique_ptr<MachineLock::Held> SimulatedLock::take(std::chrono::milliseconds limit) {
  auto const name = fromHostName(file_);
  try {
    auto file = std::make_unique<HostFile>(file_, host::OpenMode::append);
    await(*file, name, limit);
    acquired_();
    return std::make_unique<HeldFile>(std::move(file), letGo_);
  } catch (std::system_error const& failure) {
    throw SystemError("lock the machine", name, fromHost(failure.code()));
  }
}

}  // namespace machine::simulated
