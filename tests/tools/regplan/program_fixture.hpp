#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tools/regplan/golden.hpp"
#include "tools/regplan/program.hpp"

namespace regplan {

/// Runs the program in an empty current folder, in which "machine" is a simulated machine.
class ProgramTest : public testing::Test {
 protected:
  ProgramTest() {
    std::filesystem::create_directories(folder_ / "machine");
    std::filesystem::current_path(folder_);
  }
  ~ProgramTest() override {
    std::filesystem::current_path(previous_);
    std::filesystem::remove_all(folder_);
  }

  int regplan(std::vector<std::string> arguments) {
    std::ostringstream output;
    std::ostringstream errors;
    auto time = std::chrono::steady_clock::time_point{};
    auto const now = [&time] {
      time += std::chrono::milliseconds(15);
      return time;
    };
    int const code = runProgram(std::move(arguments), {output, errors, now, {}, guards});
    out = output.str();
    err = errors.str();
    return code;
  }

  static void expectGolden(std::string const& name, std::string const& actual) {
    golden::expectFile(std::filesystem::path(REGPLAN_GOLDEN) / name, actual);
  }

  std::vector<machine::Guard> guards;
  std::string out;
  std::string err;

 private:
  static std::string uniqueName() {
    return "regplan-test-" + std::to_string(std::random_device()());
  }

  std::filesystem::path const previous_ = std::filesystem::current_path();
  std::filesystem::path const folder_ = std::filesystem::temp_directory_path() / uniqueName();
};

/// A log's lines without their time stamps.
inline std::string logWithoutTimes(std::string const& log) {
  std::istringstream lines(log);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += line.substr(std::min(line.size(), line.find(' ') + 1)) + "\n";
  }
  return text;
}

}  // namespace regplan
