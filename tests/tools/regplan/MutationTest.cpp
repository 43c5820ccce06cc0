#include <gtest/gtest.h>

#include <random>

#include "tools/regplan/plan.hpp"

namespace regplan {
namespace {

std::string const goodPlan = R"({"$schema":"regplan.schema.json",
 "options":{"metadataRootPath":"C:\\Program Files\\Vortan\\R1","isServiceHostRequested":true,
  "usageDataSettingsArgument":"a text of which most changes leave a text",
  "targetFolders":{"C:\\link.exe":"C:\\folder"}},
 "commands":[{"command":"AddVTPathEntriesToMetadataFile"},
  {"command":"SetRegistryKeys","registryKeys":[{"root":"HKEY_LOCAL_MACHINE",
   "keyPath":"SOFTWARE\\Brantix","valueName":"Gr\u00f6\ud83d\ude00ße","value":"25.1"}]},
  {"command":"UpdatePathEnvironmentVariable","pathEntry":"C:\\bin","productVersion":"25.1.0.1",
   "executableName":"vortan.exe"}]})";

/// Changes texts in ways that are the same on every host: only the engine's own numbers are used.
class Mutator {
 public:
  std::string mutated(std::string text) {
    for (std::size_t changes = 1 + below(4); changes > 0 && !text.empty(); --changes) change(text);
    return text;
  }

 private:
  std::size_t below(std::size_t limit) { return engine_() % limit; }

  void change(std::string& text) {
    std::size_t const at = below(text.size());
    std::size_t const length = 1 + below(std::min<std::size_t>(text.size() - at, 40));
    std::string const part = text.substr(at, length);
    switch (below(6)) {
      case 0:
        text[at] = static_cast<char>(static_cast<unsigned char>(text[at]) ^ (1U << below(8)));
        break;
      case 1:
        text.erase(at, length);
        break;
      case 2:
        text.insert(at, part);
        break;
      case 3:
        text.insert(below(text.size()), part);
        break;
      case 4:
        text[at] = "{}[]\",:\\0e-\n"[below(12)];
        break;
      default:
        text.resize(at);
    }
  }

  std::mt19937 engine_{20261121};
};

TEST(ReadPlan, SurvivesMutatedPlans) {
  PlanErrors none;
  ASSERT_TRUE(readPlan(goodPlan, none)) << none.lines("good").at(0);
  Mutator mutator;
  std::size_t accepted = 0;
  std::size_t refusedAsValue = 0;
  constexpr std::size_t rounds = 5000;
  for (std::size_t round = 0; round < rounds; ++round) {
    std::string const text = mutator.mutated(goodPlan);
    PlanErrors errors;
    bool const isPlan = readPlan(text, errors).has_value();
    auto const lines = errors.lines("p");
    ASSERT_EQ(isPlan, lines.empty()) << text;
    if (isPlan) ++accepted;
    if (!isPlan && lines[0].starts_with("p: /")) ++refusedAsValue;
  }
  // The mutations reach all three ways a plan can go.
  EXPECT_GT(accepted, rounds / 50);
  EXPECT_GT(refusedAsValue, rounds / 50);
  EXPECT_LT(accepted + refusedAsValue, rounds);
}

}  // namespace
}  // namespace regplan
