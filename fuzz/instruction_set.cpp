#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "install/cppinstrset/instruction_set_file.hpp"
#include "registration/commands/metadata/third_party_entries.hpp"

namespace {

using registration::commands::metadata::expanded;

/// A text that becomes part of a line of a file.
void checkText(std::string const& text) {
  FUZZ_EXPECT(fuzz::isWellFormed(text));
  FUZZ_EXPECT(text.find('\n') == text.npos && text.find('\0') == text.npos);
  std::string const whole = expanded(text, u"C:\\sets\\one");
  FUZZ_EXPECT(whole.find("$IS_FILE_SEP") == whole.npos);
  FUZZ_EXPECT(whole.find('\n') == whole.npos);
}

}  // namespace

void fuzz::run(std::string_view input) {
  using namespace install::cppinstrset;
  InstructionSetContent content;
  bool const isSet = isRead<std::runtime_error>(
      [&] { content = parseInstructionSet(input, u"C:\\instructionset.json"); });
  if (!isSet) return;
  for (auto const& variable : content.envVariables) {
    FUZZ_EXPECT(!variable.name.empty());
    FUZZ_EXPECT(variable.name.find_first_of("=|") == std::string::npos);
    checkText(variable.name);
    checkText(variable.value);
  }
  for (auto const* const list : {&content.VortanPaths, &content.JavaClassPaths}) {
    for (std::string const& path : *list) {
      FUZZ_EXPECT(!path.empty());
      checkText(path);
    }
  }
}
