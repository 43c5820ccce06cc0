#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "tests/tools/regplan/full_plan.hpp"
#include "tools/regplan/catalogue.hpp"

namespace regplan {
namespace {

using golden::Tree;

constexpr char const* logName = "C/ProgramData/Vortan/registration.log";
constexpr char const* installationsName = "C/ProgramData/Brantix/Installations/installations.json";

/// Run and undone. What the machine holds then is compared whole. What the golden folder "machine"
/// gave it is left out while it is unchanged, and appears as an empty file when it is gone.
class FullPlan : public FullPlanTest {
 protected:
  Tree effect() const {
    Tree tree = golden::readTree("machine");
    for (auto const& [name, bytes] : given()) {
      if (tree[name] == bytes) tree.erase(name);
    }
    tree[logName] = logWithoutTimes(tree[logName]);
    replaceTimes(tree[installationsName]);
    return tree;
  }

 private:
  static void replaceTimes(std::string& installations) {
    auto document = nlohmann::ordered_json::parse(installations);
    for (auto& record : document["installations"]) record["added"] = "(time)";
    installations = document.dump(2) + "\n";
  }
};

TEST_F(FullPlan, HasEveryCommand) {
  std::set<std::string_view> known;
  for (auto const& command : commandCatalogue()) known.insert(command.name);
  std::set<std::string> planned;
  auto const plan = nlohmann::json::parse(golden::readBytes("plan.json"));
  for (auto const& command : plan["commands"]) planned.insert(command["command"]);
  EXPECT_EQ(planned, std::set<std::string>(known.begin(), known.end()));
}

TEST_F(FullPlan, LeavesTheGoldenMachineAfterRunAndAfterUndo) {
  EXPECT_EQ(regplan({"run", "plan.json", "--machine", "machine"}), 0);
  expectGolden("full-plan/run.txt", out);
  golden::expectTree(goldenFolder() / "after-run", effect());
  EXPECT_EQ(regplan({"undo", "plan.json", "--machine", "machine"}), 0);
  expectGolden("full-plan/undo.txt", out);
  golden::expectTree(goldenFolder() / "after-undo", effect());
}

}  // namespace
}  // namespace regplan
