#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "machine/processes.hpp"

namespace tests {

/// Starts nothing, keeps what it was asked for, and fails where told.
class RecordedProcesses : public machine::Processes {
 public:
  std::unique_ptr<machine::ChildProcess> start(machine::ProcessStart const& what) override {
    throwIf(startFailure);
    started = what;
    return std::make_unique<Child>(*this);
  }
  bool shellExecute(std::u16string_view, std::u16string_view) override {
    throw std::logic_error("asked the shell");
  }

  machine::ProcessStart started;  ///< the latest
  std::uint32_t exitCode = 0;
  std::string startFailure;  ///< text of what start throws, unless empty
  std::string waitFailure;   ///< likewise
  int waits = 0;
  int detachments = 0;
  int children = 0;  ///< alive now

 private:
  class Child : public machine::ChildProcess {
   public:
    explicit Child(RecordedProcesses& record) : record_(record) { ++record_.children; }
    ~Child() override { --record_.children; }
    std::uint32_t wait() override {
      ++record_.waits;
      throwIf(record_.waitFailure);
      return record_.exitCode;
    }
    void detach() override { ++record_.detachments; }

   private:
    RecordedProcesses& record_;
  };

  static void throwIf(std::string const& failure) {
    if (!failure.empty()) {
      throw std::runtime_error(failure);
    }
  }
};

}  // namespace tests
