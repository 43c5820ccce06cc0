#include "tools/regplan/report/file_text.hpp"

#include "fuzz/fuzz.hpp"
#include "tools/regplan/report/sequence_diff.hpp"

namespace {

using Lines = std::vector<machine::UString>;

/// The edits lead from the one list to the other.
void checkDiff(Lines const& before, Lines const& after) {
  using Kind = regplan::Edit::Kind;
  Lines made;
  std::size_t taken = 0;
  for (auto const& edit : regplan::sequenceDiff(before, after)) {
    if (edit.kind == Kind::remove) {
      FUZZ_EXPECT(edit.line == taken);
      ++taken;
      continue;
    }
    FUZZ_EXPECT(edit.line == made.size() && edit.line < after.size());
    if (edit.kind == Kind::keep) {
      FUZZ_EXPECT(taken < before.size() && before[taken] == after[edit.line]);
      ++taken;
    }
    made.push_back(after[edit.line]);
  }
  FUZZ_EXPECT(taken == before.size());
  FUZZ_EXPECT(made == after);
}

Lines linesOf(std::string_view bytes) {
  auto const text = regplan::fileText(bytes);
  return text ? text->lines : Lines();
}

}  // namespace

/// Two files with a NUL and a mark between them, or the same one twice.
void fuzz::run(std::string_view input) {
  constexpr std::string_view between("\0--\n", 4);
  auto const end = input.find(between);
  auto const before = linesOf(input.substr(0, end));
  checkDiff(before, before);
  if (end != input.npos) checkDiff(before, linesOf(input.substr(end + between.size())));
}
