#pragma once

#include "machine/path_grammar.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"

namespace tests {

/// A folder with copies of built programs and modules. Commands do not wait for all that they
/// start, so a copy may still be in use when its test ends; it is waited for.
class ProductTest : public CommandTest {
 protected:
  ~ProductTest() override {
    for (registration::Path const& file : usedFiles_) {
      EXPECT_TRUE(eventually([&] { return isRemoved(file); })) << "still in use";
    }
  }

  /// Copies a built file, by its own name unless given another. `folder` is made when missing.
  registration::Path copy(registration::UString const& built, registration::Path const& folder,
                          registration::UString const& name = {}) {
    registration::Path const target = folder / (name.empty() ? built : name);
    writeFile(target, readFile(registration::Path(testProgram(built))));
    usedByOthers(target);
    return target;
  }
  /// Has the end of the test wait until no other program uses the file any more.
  void usedByOthers(registration::Path const& file) { usedFiles_.push_back(file); }
  /// The file's content once it ends with `end`; what it is at last when it never does.
  std::string contentWhenItEndsWith(registration::Path const& file, std::string_view end) {
    std::string content;
    eventually([&] {
      content = exists(file) ? readFile(file) : "";
      return content.ends_with(end);
    });
    return content;
  }

 private:
  bool isRemoved(registration::Path const& file) {
    try {
      files().removeFile(file.ustring());
      return true;
    } catch (machine::SystemError const&) {
      return false;
    }
  }
  std::vector<registration::Path> usedFiles_;
};

}  // namespace tests
