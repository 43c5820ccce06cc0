#include "tools/regplan/plan.hpp"

#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"

void fuzz::run(std::string_view input) {
  regplan::PlanErrors errors;
  auto const plan = regplan::readPlan(input, errors);
  FUZZ_EXPECT(plan.has_value() == errors.empty());
  auto const lines = errors.lines("hostile.json");
  FUZZ_EXPECT(lines.empty() == errors.empty());
  FUZZ_EXPECT(lines.size() <= regplan::PlanErrors::limit + 1);
  for (std::string const& line : lines) {
    FUZZ_EXPECT(line.starts_with("hostile.json: ") || line.starts_with("hostile.json:"));
    FUZZ_EXPECT(isPrintable(line));
    FUZZ_EXPECT(line.size() < 4096);
  }
  if (!plan) return;
  for (auto const& command : plan->commands) {
    FUZZ_EXPECT(command.command != nullptr);
    FUZZ_EXPECT(!command.name.empty());
    for (auto const& argument : command.arguments) FUZZ_EXPECT(isWellFormed(argument.text));
  }
}
