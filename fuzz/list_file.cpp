#include <algorithm>

#include "fl/i18n/ustring.hpp"
#include "fuzz/fuzz.hpp"
#include "fuzz/scratch_machine.hpp"
#include "registration/commands/metadata/list_files.hpp"

void fuzz::run(std::string_view input) {
  using namespace registration::commands::metadata;
  ScratchMachine scratch;
  registration::Path const file(u"C:\\list.phl");
  scratch.writeFile(file.ustring(), input);
  auto const list = readEntries('%', file, [&](std::string const& line, std::size_t number) {
    FUZZ_EXPECT(number > 0 &&
                number <= 1 + static_cast<std::size_t>(std::ranges::count(input, '\n')));
    FUZZ_EXPECT(!line.empty() && line.front() != '%');
    FUZZ_EXPECT(line.find('\n') == line.npos);
    FUZZ_EXPECT(std::string_view(" \t\r\f\v").find(line.front()) == line.npos);
    FUZZ_EXPECT(std::string_view(" \t\r\f\v").find(line.back()) == line.npos);
    FUZZ_EXPECT(input.find(line) != input.npos);
    return fl::i18n::utf8_to_ustring(line);
  });
  FUZZ_EXPECT(list.isOpened);
}
