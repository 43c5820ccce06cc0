#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "install/cpputil/logger.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tools/regplan/exit_codes.hpp"
#include "tools/regplan/program.hpp"

namespace {

namespace fs = std::filesystem;

/// The current folder of the process, with a plan and a simulated machine.
class Folder {
 public:
  Folder() {
    fs::current_path(folder_.path());
    std::ofstream("plan.json") << R"({"commands": []})";
    fs::create_directory("machine");
  }
  ~Folder() { fs::current_path("/"); }
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;

  static void removeWhatWasMade() {
    std::vector<fs::path> made;
    for (auto const& entry : fs::directory_iterator(".")) {
      if (entry.path() != "./plan.json" && entry.path() != "./machine")
        made.push_back(entry.path());
    }
    for (auto const& path : made) fs::remove_all(path);
  }

 private:
  tests::TemporaryFolder const folder_;
};

/// What a process can be given, but for names that lead out of the folder.
std::vector<std::string> argumentsFrom(std::string_view input) {
  std::vector<std::string> arguments;
  while (!input.empty()) {
    arguments.emplace_back(fuzz::takeLine(input));
    std::erase_if(arguments.back(), [](char unit) { return unit == '\0' || unit == '/'; });
    if (arguments.back().find("..") != std::string::npos) arguments.pop_back();
  }
  return arguments;
}

void checkLines(std::string_view text) {
  while (!text.empty()) FUZZ_EXPECT(fuzz::isPrintable(fuzz::takeLine(text)));
}

}  // namespace

/// Each line is an argument.
void fuzz::run(std::string_view input) {
  static Folder const folder;
  auto const arguments = argumentsFrom(input);
  std::ostringstream output;
  std::ostringstream errors;
  regplan::Surroundings const surroundings{output, errors,
                                           [] { return std::chrono::steady_clock::time_point(); }};
  int const code = regplan::runProgram(arguments, surroundings);
  install::cpputil::logger::close_destination();
  Folder::removeWhatWasMade();
  FUZZ_EXPECT(code >= regplan::allDone && code <= regplan::busy);
  FUZZ_EXPECT(code == regplan::allDone || !errors.str().empty() || !output.str().empty());
  FUZZ_EXPECT(code != regplan::allDone || !output.str().empty());
  checkLines(output.str());
  checkLines(errors.str());
}
