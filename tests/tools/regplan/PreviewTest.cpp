#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/substituted_machine.hpp"
#include "tests/tools/regplan/full_plan.hpp"
#include "tools/regplan/catalogue.hpp"

namespace regplan {
namespace {

using nlohmann::json;

class StandingClock final : public machine::Clock {
 public:
  std::chrono::system_clock::time_point now() override {
    return std::chrono::sys_days(std::chrono::year(2026) / 11 / 21);
  }
};

/// What a preview lists is what a run then does. What foreign code does is in neither: here it does
/// nothing.
class Preview : public FullPlanTest {
 protected:
  /// Of each command the changes and hand-overs, as the report of the verb tells them.
  json listedBy(std::string const& verb) {
    machine::simulated::SimulatedMachine simulated("machine");
    StandingClock clock;
    tests::SubstitutedMachine machine(simulated);
    machine.replace(clock);
    {
      machine::ScopedMachine const scope(machine);
      std::vector<std::string> arguments = {verb, "plan.json", "--report", verb + ".json"};
      if (verb != "preview") arguments.push_back("--no-log");
      EXPECT_EQ(regplan(arguments), 0) << err;
    }
    auto const report = json::parse(golden::readBytes(verb + ".json"));
    json list = json::array();
    for (auto const& command : report["commands"]) {
      list.push_back({{"command", command["command"]},
                      {"changes", command["changes"]},
                      {"handOvers", command["handOvers"]}});
    }
    return list;
  }

  static bool isEmpty(json const& list) {
    return std::ranges::all_of(list, [](json const& command) {
      return command["changes"].empty() && command["handOvers"].empty();
    });
  }

  /// Leaves this one command in the plan, as often as it was there.
  static void keepOnly(std::string_view name) {
    auto plan = json::parse(golden::readBytes("plan.json"));
    json kept = json::array();
    for (auto const& command : plan["commands"]) {
      if (command["command"] == name) kept.push_back(command);
    }
    ASSERT_FALSE(kept.empty()) << "the full plan lacks " << name;
    plan["commands"] = kept;
    golden::writeBytes("plan.json", plan.dump());
  }
};

class PreviewOfOneCommand : public Preview, public testing::WithParamInterface<std::string> {};

TEST_P(PreviewOfOneCommand, ListsWhatARunThenDoes) {
  keepOnly(GetParam());
  auto const foreseen = listedBy("preview");
  EXPECT_EQ(foreseen, listedBy("run"));
  EXPECT_EQ(isEmpty(foreseen), GetParam() == "CreateSymlink");
}

TEST_P(PreviewOfOneCommand, ListsWhatASecondRunThenDoes) {
  keepOnly(GetParam());
  listedBy("run");
  auto const foreseen = listedBy("preview");
  EXPECT_EQ(foreseen, listedBy("run"));
}

TEST_P(PreviewOfOneCommand, ListsWhatARunAfterAnUndoThenDoes) {
  keepOnly(GetParam());
  listedBy("run");
  listedBy("undo");
  auto const foreseen = listedBy("preview");
  EXPECT_EQ(foreseen, listedBy("run"));
}

std::vector<std::string> everyCommand() {
  std::vector<std::string> names;
  for (auto const& command : commandCatalogue()) names.emplace_back(command.name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, PreviewOfOneCommand, testing::ValuesIn(everyCommand()),
                         [](auto const& tested) { return tested.param; });

TEST_F(Preview, OfTheFullPlanListsWhatARunThenDoes) {
  auto const foreseen = listedBy("preview");
  EXPECT_EQ(foreseen, listedBy("run"));
  EXPECT_EQ(foreseen.size(), 21u);
  EXPECT_FALSE(isEmpty(foreseen));
}

TEST_F(Preview, OfTheFullPlanListsWhatASecondRunThenDoes) {
  listedBy("run");
  auto const foreseen = listedBy("preview");
  EXPECT_EQ(foreseen, listedBy("run"));
}

}  // namespace
}  // namespace regplan
