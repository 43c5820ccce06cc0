#include "machine/windows/parts.hpp"

namespace machine::windows {
namespace {

class WindowsClock final : public Clock {
 public:
  std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
};

}  // namespace

std::unique_ptr<Clock> makeClock() {
  return std::make_unique<WindowsClock>();
}

}  // namespace machine::windows
